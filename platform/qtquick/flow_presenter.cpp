#include "platform/qtquick/flow_presenter.h"

#include <QEvent>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <vector>

#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/install.h"
#include "platform/qtquick/passkey_item.h"
#include "platform/qtquick/view_registry.h"
#include "veltrane/base/console.h"

namespace veltrane::qtquick {
namespace {

/// In the order they were made. User-interface thread.
std::vector<FlowPresenter*>& presenters() {
  static std::vector<FlowPresenter*> all;
  return all;
}

}  // namespace

FlowPresenter::FlowPresenter(QQuickWindow* window, QQmlEngine* engine)
    : FlowPresenter(window->contentItem(), engine) {}

FlowPresenter::FlowPresenter(QQuickItem* item) : FlowPresenter(item, qmlEngine(item)) {}

FlowPresenter::FlowPresenter(QQuickItem* item, QQmlEngine* engine)
    : parent_(item), stage_(std::make_unique<FlowStage>()) {
  registerTypes();
  connect(stage_.get(), &FlowStage::viewsChanged, this, &FlowPresenter::rememberFocus);
  connect(item, &QQuickItem::windowChanged, this,
          [this](QQuickWindow* window) { window_ = window; });
  connect(item, &QObject::destroyed, this, [this] { qDeleteAll(findChildren<PasskeyItem*>()); });
  window_ = item->window();
  QGuiApplication::instance()->installEventFilter(this);
  makeOverlay(engine);
  presenters().push_back(this);
}

FlowPresenter::~FlowPresenter() {
  std::erase(presenters(), this);
  // They look at the stage.
  qDeleteAll(findChildren<PasskeyItem*>());
  delete overlay_;
}

std::shared_ptr<ViewController> FlowPresenter::hostViewController() const {
  return stage_->host();
}

void FlowPresenter::makeOverlay(QQmlEngine* engine) {
  if (!engine) {
    ownEngine_ = std::make_unique<QQmlEngine>();
    engine = ownEngine_.get();
  }
  overlay_ = make(*engine, "FlowOverlay.qml",
                  {{QStringLiteral("stage"), QVariant::fromValue<QObject*>(stage_.get())}});
}

QQuickItem* FlowPresenter::make(QQmlEngine& engine, std::string_view file, QVariantMap properties) {
  QQmlComponent component(&engine, moduleFile(file));
  if (!component.isReady()) {
    console::print("The flow cannot be shown: " + component.errorString().toStdString());
    return nullptr;
  }
  properties.insert(QStringLiteral("parent"), QVariant::fromValue<QQuickItem*>(parent_));
  auto* made = component.createWithInitialProperties(properties);
  QQmlEngine::setObjectOwnership(made, QQmlEngine::CppOwnership);
  return qobject_cast<QQuickItem*>(made);
}

bool FlowPresenter::show(const std::shared_ptr<PasskeySheet>& sheet) {
  if (!overlay_ || !parent_ || !window_) return false;
  focusBelowPasskey_ = window_->activeFocusItem();
  auto* item = new PasskeyItem(sheet, *stage_, this);
  auto* content = make(*qmlEngine(overlay_), "PasskeySheet.qml",
                       {{QStringLiteral("item"), QVariant::fromValue<QObject*>(item)}});
  if (!content) {
    delete item;
    return false;
  }
  passkey_ = item;
  connect(item, &PasskeyItem::asked, this, &FlowPresenter::passkeyChanged);
  connect(item, &PasskeyItem::hasSettled, this, &FlowPresenter::passkeyChanged);
  connect(item, &PasskeyItem::closed, this, &FlowPresenter::takeFocusBack);
  connect(item, &PasskeyItem::left, item, &QObject::deleteLater);
  connect(item, &QObject::destroyed, this, &FlowPresenter::passkeyChanged);
  item->setContent(content);
  emit passkeyChanged();
  return true;
}

PasskeyItem* FlowPresenter::passkey() const {
  return passkey_;
}

void FlowPresenter::takeFocusBack() {
  if (focusBelowPasskey_ && focusBelowPasskey_->isVisible() && focusBelowPasskey_->isEnabled()) {
    focusBelowPasskey_->forceActiveFocus();
  } else if (const ViewItem* view = stage_->activeView(); view && view->content()) {
    view->content()->forceActiveFocus();
  }
}

int FlowPresenter::claim() const {
  return (stage_->isShowing() ? 2 : 0) + (window_ && window_->isActive() ? 1 : 0);
}

FlowPresenter* FlowPresenter::current() {
  FlowPresenter* best = nullptr;
  for (FlowPresenter* one : presenters()) {
    if (!best || one->claim() >= best->claim()) best = one;
  }
  return best;
}

bool FlowPresenter::isShown(const PasskeySheet& sheet) {
  return std::any_of(presenters().begin(), presenters().end(), [&](const FlowPresenter* one) {
    const auto items = one->findChildren<PasskeyItem*>();
    return std::any_of(items.begin(), items.end(),
                       [&](const PasskeyItem* item) { return item->shows(sheet); });
  });
}

// The host's focus comes back once the last view has moved out.
void FlowPresenter::rememberFocus() {
  const bool showing = stage_->isShowing();
  if (showing == wasShowing_) return;
  wasShowing_ = showing;
  if (!window_) return;
  if (showing) {
    formerFocus_ = window_->activeFocusItem();
    if (overlay_) overlay_->forceActiveFocus();
  } else if (formerFocus_) {
    formerFocus_->forceActiveFocus();
  }
}

bool FlowPresenter::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::ApplicationFontChange:
    case QEvent::ApplicationLayoutDirectionChange:
    case QEvent::ApplicationPaletteChange:
      if (watched == QGuiApplication::instance()) stage_->followSystem();
      break;
    case QEvent::KeyPress:
      if (watched == window_) stage_->setKeyboardInUse(true);
      break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
      if (watched == window_) stage_->setKeyboardInUse(false);
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace veltrane::qtquick
