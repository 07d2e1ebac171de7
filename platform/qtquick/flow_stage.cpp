#include "platform/qtquick/flow_stage.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QInputMethod>
#include <QPalette>
#include <QQmlEngine>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/view_registry.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane::qtquick {
namespace {

using Motion = ViewItem::Motion;
using Phase = ViewItem::Phase;

/// Point size of the system font at which text has the size it was designed for.
constexpr double kPlainPointSize = 11;
constexpr double kPlainPixelSize = 15;
constexpr double kLargestScale = 2;

double systemTextScale() {
  const QFont font = QGuiApplication::font();
  const double scale = font.pointSizeF() > 0 ? font.pointSizeF() / kPlainPointSize
                                             : font.pixelSize() / kPlainPixelSize;
  return std::clamp(scale, 1.0, kLargestScale);
}

bool systemIsDark() {
  const QPalette palette = QGuiApplication::palette();
  return palette.color(QPalette::Window).lightness() <
         palette.color(QPalette::WindowText).lightness();
}

Motion motionOf(const PresentationChange& change) {
  if (!change.animated) return Motion::None;
  switch (change.transition) {
    case Transition::push:
    case Transition::back:
      return Motion::Push;
    case Transition::present:
    case Transition::modal:
    case Transition::dismissed:
      return Motion::Modal;
    case Transition::alert:
    case Transition::root:
      return Motion::Fade;
  }
  return Motion::None;
}

}  // namespace

FlowStage::FlowStage() : host_(std::make_shared<HostViewController>()) {
  followSystem();
  QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
  const QInputMethod* keyboard = QGuiApplication::inputMethod();
  connect(keyboard, &QInputMethod::keyboardRectangleChanged, this, &FlowStage::keyboardTopChanged);
  connect(keyboard, &QInputMethod::visibleChanged, this, &FlowStage::keyboardTopChanged);
  subscription_ = host_->presentationChanged.subscribe(
      [this](const PresentationChange& change) { sync(change); });
}

FlowStage::~FlowStage() = default;

int FlowStage::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(views_.size());
}

QVariant FlowStage::data(const QModelIndex& index, int role) const {
  if (role != ViewRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  return QVariant::fromValue<QObject*>(views_[static_cast<std::size_t>(index.row())].get());
}

QHash<int, QByteArray> FlowStage::roleNames() const {
  return {{ViewRole, "view"}};
}

bool FlowStage::isShowing() const {
  return host_->presentedViewController() != nullptr || !views_.empty();
}

ViewItem* FlowStage::activeView() const {
  const auto found =
      std::find_if(views_.begin(), views_.end(), [](const auto& view) { return view->isActive(); });
  return found == views_.end() ? nullptr : found->get();
}

bool FlowStage::isSettled() const {
  return std::all_of(views_.begin(), views_.end(),
                     [](const auto& view) { return view->isSettled(); });
}

void FlowStage::followSystem() {
  if (!hostSetTextScale_) textScale_ = systemTextScale();
  if (!hostSetMirrored_) mirrored_ = QGuiApplication::layoutDirection() == Qt::RightToLeft;
  if (!hostSetDark_) dark_ = systemIsDark();
  lookHasChanged();
}

void FlowStage::setTextScale(double scale) {
  hostSetTextScale_ = true;
  textScale_ = std::isfinite(scale) ? std::clamp(scale, 1.0, kLargestScale) : 1.0;
  emit lookChanged();
}
void FlowStage::setMirrored(bool mirrored) {
  hostSetMirrored_ = true;
  mirrored_ = mirrored;
  emit lookChanged();
}
void FlowStage::setDark(bool dark) {
  hostSetDark_ = true;
  dark_ = dark;
  lookHasChanged();
}
void FlowStage::setReducedMotion(bool reduced) {
  reducedMotion_ = reduced;
  emit lookChanged();
}
void FlowStage::setStill(bool still) {
  still_ = still;
  emit lookChanged();
}
void FlowStage::setKeyboardInUse(bool inUse) {
  if (inUse == keyboardInUse_) return;
  keyboardInUse_ = inUse;
  emit keyboardInUseChanged();
}

double FlowStage::keyboardTop() const {
  const QInputMethod* keyboard = QGuiApplication::inputMethod();
  const QRectF covered = keyboard->keyboardRectangle();
  return keyboard->isVisible() && covered.height() > 0 ? covered.top() : -1;
}

PaletteWishes FlowStage::themeWishes() const {
  PaletteWishes wishes;
  wishes.dark = dark_;
  const auto theme = UserDefaultsManager::getUITheme();
  if (!theme) return wishes;
  const auto color = [&](std::string_view name) {
    const auto found = theme->find(name);
    return found == theme->end() ? QColor() : toQColor(Color::fromHex(found->second));
  };
  wishes.background = color("backgroundColor");
  wishes.text = color("labelTextColor");
  wishes.accent = color("buttonBackgroundColor");
  return wishes;
}

// From the bottom to the top: a stack's screens, what they present, what the stack presents.
void FlowStage::collect(const std::shared_ptr<ViewController>& controller, Controllers& views) {
  if (const auto navigation = std::dynamic_pointer_cast<NavigationController>(controller)) {
    const auto& stack = navigation->viewControllers();
    views.insert(views.end(), stack.begin(), stack.end());
    for (const auto& screen : stack) {
      if (const auto presented = screen->presentedViewController()) collect(presented, views);
    }
  } else {
    views.push_back(controller);
  }
  if (const auto presented = controller->presentedViewController()) collect(presented, views);
}

void FlowStage::sync(const PresentationChange& change) {
  Controllers wanted;
  // A screen that takes the place of one still rising goes on from there.
  const double lift = activeView() ? activeView()->lift() : 0;
  if (const auto flow = host_->presentedViewController()) collect(flow, wanted);
  const Motion motion = motionOf(change);
  retire(wanted, motion);
  place(wanted, change.transition == Transition::root ? lift : 0);
  // What has just come must be seen to move.
  emit viewsChanged();
  arrange(wanted, motion);
  emit presentationChanged(change);
}

// Of the views that leave, the one that was seen moves out; the others go at once.
void FlowStage::retire(const Controllers& wanted, Motion motion) {
  for (std::size_t at = views_.size(); at-- > 0;) {
    ViewItem& view = *views_[at];
    if (view.phase() == Phase::Leaving) continue;
    if (std::find(wanted.begin(), wanted.end(), view.controller()) != wanted.end()) continue;
    const bool seen = view.phase() == Phase::Shown;
    if (seen && motion != Motion::None) {
      view.move(Phase::Leaving, view.isAlert() ? Motion::Fade : motion, false);
    } else {
      removeView(at);
    }
  }
}

void FlowStage::place(const Controllers& wanted, double lift) {
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (indexOf(wanted[i]) < views_.size()) continue;
    const bool isTop = i + 1 == wanted.size();
    const std::size_t at = isTop || i == 0 ? views_.size() : indexOf(wanted[i - 1]) + 1;
    insertView(at, wanted[i], lift);
  }
}

void FlowStage::arrange(const Controllers& wanted, Motion motion) {
  bool covered = false;
  for (std::size_t i = wanted.size(); i-- > 0;) {
    ViewItem& view = *views_[indexOf(wanted[i])];
    const bool top = i + 1 == wanted.size();
    const Motion ownMotion = view.isAlert()    ? Motion::Fade
                             : view.lift() > 0 ? Motion::Modal
                                               : motion;
    view.move(covered ? Phase::Covered : Phase::Shown, ownMotion, top);
    covered = covered || !view.isAlert();
  }
}

std::size_t FlowStage::indexOf(const std::shared_ptr<ViewController>& controller) const {
  const auto found = std::find_if(views_.begin(), views_.end(), [&](const auto& view) {
    return view->controller() == controller && view->phase() != Phase::Leaving;
  });
  return static_cast<std::size_t>(found - views_.begin());
}

void FlowStage::insertView(std::size_t at, std::shared_ptr<ViewController> controller,
                           double lift) {
  const ViewItem* below = at > 0 ? views_[at - 1].get() : nullptr;
  auto view = makeViewItem(std::move(controller), *this, below);
  view->setLift(lift);
  QQmlEngine::setObjectOwnership(view.get(), QQmlEngine::CppOwnership);
  connect(view.get(), &ViewItem::hasSettled, this,
          [this, item = view.get()] { viewSettled(item); });
  beginInsertRows({}, static_cast<int>(at), static_cast<int>(at));
  views_.insert(views_.begin() + static_cast<std::ptrdiff_t>(at), std::move(view));
  endInsertRows();
}

void FlowStage::removeView(std::size_t at) {
  const int row = static_cast<int>(at);
  beginRemoveRows({}, row, row);
  // The delegate may be on the call stack and may be read once more before it is gone.
  auto* gone = views_[at].release();
  views_.erase(views_.begin() + row);
  endRemoveRows();
  gone->deleteLater();
}

void FlowStage::viewSettled(ViewItem* view) {
  if (view->phase() == Phase::Leaving) {
    const auto found = std::find_if(views_.begin(), views_.end(),
                                    [&](const auto& item) { return item.get() == view; });
    if (found != views_.end()) removeView(static_cast<std::size_t>(found - views_.begin()));
    emit viewsChanged();
  }
  emit settled();
}

void FlowStage::lookHasChanged() {
  for (const auto& view : views_) view->refresh();
  emit lookChanged();
}

}  // namespace veltrane::qtquick
