#include "platform/qtquick/screen_items.h"

#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/words.h"
#include "veltrane/ui/cells/cell_classes.h"
#include "veltrane/ui/flow_screen.h"
#include "veltrane/ui/mfa_screen1_vc.h"
#include "veltrane/ui/screen_template1_vc.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane::qtquick {
namespace {

/// The registry makes an item for a controller of its class only.
template <typename Screen>
Screen& of(ViewController& controller) {
  return static_cast<Screen&>(controller);
}

}  // namespace

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

ListScreenItem::ListScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                               TableView& table, RowModel::Identify identify)
    : ScreenItem(std::move(controller), stage) {
  rows_ = std::make_unique<RowModel>(
      table, std::move(identify), [this]() -> const Palette& { return palette(); }, this);
}

ListScreenItem::~ListScreenItem() = default;

EdgeInsets ListScreenItem::margins() const {
  return {.top = 10, .left = 20, .bottom = 10, .right = 20};
}

TemplateScreenItem::TemplateScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ListScreenItem(controller, stage, of<ScreenTemplate1VC>(*controller).mainTableView,
                     [&screen = of<ScreenTemplate1VC>(*controller)](std::size_t row) {
                       const CellProperties& record = screen.viewModel->records[row];
                       return RowIdentity{cellClassName(record.type), record.key};
                     }) {
  refresh();
}

ScreenTemplate1VC& TemplateScreenItem::screen() const {
  return of<ScreenTemplate1VC>(*controller());
}

bool TemplateScreenItem::isBusy() const {
  return screen().isBusy();
}
bool TemplateScreenItem::isPolling() const {
  return screen().isPolling();
}
bool TemplateScreenItem::isLoading() const {
  return !screen().loading.isHidden;
}
EdgeInsets TemplateScreenItem::margins() const {
  return screen().margins;
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

MethodScreenItem::MethodScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ListScreenItem(controller, stage, of<MfaScreen1VC>(*controller).authListTableView,
                     [](std::size_t /*row*/) {
                       return RowIdentity{"MFATableViewCell", std::nullopt};
                     }) {}

bool MethodScreenItem::isBusy() const {
  return screen().isOpening();
}

MfaScreen1VC& MethodScreenItem::screen() const {
  return of<MfaScreen1VC>(*controller());
}

QString MethodScreenItem::emptyText() const {
  return translated(screen().emptyLabel.text);
}

void MethodScreenItem::choose(int row) {
  if (!isActive() || row < 0 || row >= rows()->rowCount()) return;
  screen().didSelectRow(IndexPath{static_cast<std::size_t>(row)});
}

StartFlowVC& StartScreenItem::screen() const {
  return of<StartFlowVC>(*controller());
}

QString StartScreenItem::text() const {
  return translated(screen().loadingLabel.text);
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
