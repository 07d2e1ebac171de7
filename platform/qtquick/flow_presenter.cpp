#include "platform/qtquick/flow_presenter.h"

#include <QEvent>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/install.h"
#include "platform/qtquick/view_registry.h"
#include "veltrane/base/console.h"

namespace veltrane::qtquick {

FlowPresenter::FlowPresenter(QQuickWindow* window, QQmlEngine* engine)
    : FlowPresenter(window->contentItem(), engine) {}

FlowPresenter::FlowPresenter(QQuickItem* item) : FlowPresenter(item, qmlEngine(item)) {}

FlowPresenter::FlowPresenter(QQuickItem* item, QQmlEngine* engine)
    : parent_(item), stage_(std::make_unique<FlowStage>()) {
  registerTypes();
  connect(stage_.get(), &FlowStage::viewsChanged, this, &FlowPresenter::rememberFocus);
  connect(item, &QQuickItem::windowChanged, this,
          [this](QQuickWindow* window) { window_ = window; });
  window_ = item->window();
  QGuiApplication::instance()->installEventFilter(this);
  makeOverlay(engine);
}

FlowPresenter::~FlowPresenter() {
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
  QQmlComponent component(engine, moduleFile("FlowOverlay.qml"));
  if (!component.isReady()) {
    console::print("The flow cannot be shown: " + component.errorString().toStdString());
    return;
  }
  auto* made = component.createWithInitialProperties(
      {{QStringLiteral("stage"), QVariant::fromValue<QObject*>(stage_.get())},
       {QStringLiteral("parent"), QVariant::fromValue<QQuickItem*>(parent_)}});
  QQmlEngine::setObjectOwnership(made, QQmlEngine::CppOwnership);
  overlay_ = qobject_cast<QQuickItem*>(made);
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
