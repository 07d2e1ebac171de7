#include "platform/qtquick/view_item.h"

#include <QAccessible>
#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"

namespace veltrane::qtquick {

ViewItem::ViewItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : controller_(std::move(controller)), stage_(stage) {
  palette_ = Palette::derive(wishes_);
  subscription_ = controller_->changed.subscribe([this] { refresh(); });
}

ViewItem::~ViewItem() = default;

QString ViewItem::className() const {
  return toQString(controller_->className());
}

PaletteWishes ViewItem::wishes() const {
  return stage_.themeWishes();
}

void ViewItem::refresh() {
  auto now = wishes();
  if (now != wishes_) {
    wishes_ = std::move(now);
    palette_ = Palette::derive(wishes_);
    paletteChanged();
  }
  emit changed();
}

void ViewItem::move(Phase phase, Motion motion, bool active) {
  if (phase == phase_ && active == active_) return;
  if (phase != phase_) settled_ = false;
  phase_ = phase;
  motion_ = motion;
  active_ = active;
  emit phaseChanged();
}

void ViewItem::setLift(double lift) {
  if (lift == lift_) return;
  lift_ = lift;
  emit liftChanged();
}

void ViewItem::setContent(QQuickItem* content) {
  if (content == content_) return;
  content_ = content;
  if (content && isAlert()) {
    // Screen readers speak up for it at once.
    QAccessibleEvent event(content, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
  }
  emit contentChanged();
}

void ViewItem::settled() {
  settled_ = true;
  emit hasSettled();
}

}  // namespace veltrane::qtquick
