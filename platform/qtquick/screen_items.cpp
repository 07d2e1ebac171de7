#include "platform/qtquick/screen_items.h"

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "veltrane/ui/cells/cell_classes.h"
#include "veltrane/ui/flow_screen.h"
#include "veltrane/ui/screen_template1_vc.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane::qtquick {

ScreenItem::ScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ViewItem(std::move(controller), stage) {
  if (const auto navigation = this->controller()->navigationController()) {
    navigationSubscription_ = navigation->changed.subscribe([this] { followBar(); });
  }
  connect(this, &ViewItem::phaseChanged, this, &ScreenItem::followBar);
  followBar();
}

QString ScreenItem::title() const {
  const auto& item = controller()->navigationItem;
  return toQString(item.title ? item.title : controller()->title);
}

// The bar belongs to the stack, but a screen that is covered or on its way out keeps what it had.
void ScreenItem::followBar() {
  const auto navigation = controller()->navigationController();
  if (!navigation || navigation->topViewController() != controller()) return;
  canGoBack_ = navigation->viewControllers().front() != controller();
  barHidden_ = navigation->isNavigationBarHidden();
  emit changed();
}

void ScreenItem::back() {
  if (const auto navigation = controller()->navigationController()) {
    navigation->popViewController(true);
  }
}

void ScreenItem::cancel() {
  if (const auto screen = std::dynamic_pointer_cast<FlowScreen>(controller())) {
    screen->cancelPressed();
  }
}

PaletteWishes ScreenItem::wishes() const {
  auto wishes = ViewItem::wishes();
  const auto& navigation = controller()->navigationItem;
  if (const auto& background = controller()->view.backgroundColor) {
    wishes.background = toQColor(*background);
  }
  wishes.barBackground = toQColor(navigation.barTintColor);
  wishes.barTint = toQColor(navigation.tintColor);
  return wishes;
}

TemplateScreenItem::TemplateScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ScreenItem(std::move(controller), stage) {
  const auto identify = [this](std::size_t row) {
    const CellProperties& record = screen().viewModel->records[row];
    return RowIdentity{cellClassName(record.type), record.key};
  };
  rows_ = std::make_unique<RowModel>(
      screen().mainTableView, identify, [this]() -> const Palette& { return palette(); }, this);
  refresh();
}

TemplateScreenItem::~TemplateScreenItem() = default;

ScreenTemplate1VC& TemplateScreenItem::screen() const {
  return static_cast<ScreenTemplate1VC&>(*controller());
}

bool TemplateScreenItem::isBusy() const {
  return screen().isBusy();
}
bool TemplateScreenItem::isLoading() const {
  return !screen().loading.isHidden;
}
double TemplateScreenItem::marginTop() const {
  return screen().margins.top;
}
double TemplateScreenItem::marginLeft() const {
  return screen().margins.left;
}
double TemplateScreenItem::marginBottom() const {
  return screen().margins.bottom;
}
double TemplateScreenItem::marginRight() const {
  return screen().margins.right;
}
double TemplateScreenItem::keyboardInset() const {
  return screen().mainTableView.contentInset.bottom;
}

void TemplateScreenItem::keyboardCovers(double height) {
  if (height > 0) {
    screen().keyboardWillShow(height);
  } else if (keyboardInset() > 0) {
    screen().keyboardWillHide();
  }
}

PaletteWishes TemplateScreenItem::wishes() const {
  auto wishes = ScreenItem::wishes();
  if (const auto& text = screen().view.textColor) wishes.text = toQColor(*text);
  return wishes;
}

StartFlowVC& StartScreenItem::screen() const {
  return static_cast<StartFlowVC&>(*controller());
}

QString StartScreenItem::text() const {
  return toQString(screen().loadingLabel.text);
}
bool StartScreenItem::isSpinning() const {
  return !screen().isLoadingActivityHidden;
}
bool StartScreenItem::isRetryVisible() const {
  return !screen().isRetryButtonHidden;
}
void StartScreenItem::retry() {
  screen().retryButtonAction();
}
void StartScreenItem::cancel() {
  screen().cancelPressed();
}

}  // namespace veltrane::qtquick
