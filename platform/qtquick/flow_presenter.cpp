#include "platform/qtquick/flow_presenter.h"

#include <QEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/install.h"
#include "platform/qtquick/view_registry.h"
#include "veltrane/base/console.h"

namespace veltrane::qtquick {

FlowPresenter::FlowPresenter(QQuickWindow* window) : FlowPresenter(window->contentItem()) {}

FlowPresenter::FlowPresenter(QQuickItem* item)
    : parent_(item), stage_(std::make_unique<FlowStage>()) {
  registerTypes();
  connect(stage_.get(), &FlowStage::viewsChanged, this, &FlowPresenter::rememberFocus);
  connect(item, &QQuickItem::windowChanged, this, &FlowPresenter::watchWindow);
  watchWindow(item->window());
  makeOverlay();
}

FlowPresenter::~FlowPresenter() {
  delete overlay_;
}

std::shared_ptr<ViewController> FlowPresenter::hostViewController() const {
  return stage_->host();
}

void FlowPresenter::makeOverlay() {
  auto* engine = qmlEngine(parent_);
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

void FlowPresenter::watchWindow(QQuickWindow* window) {
  if (window_) window_->removeEventFilter(this);
  window_ = window;
  if (window_) window_->installEventFilter(this);
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
    case QEvent::KeyPress:
      stage_->setKeyboardInUse(true);
      break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
      stage_->setKeyboardInUse(false);
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace veltrane::qtquick
