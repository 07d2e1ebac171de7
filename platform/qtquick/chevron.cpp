#include "platform/qtquick/chevron.h"

#include <QPainter>
#include <QPolygonF>

namespace veltrane::qtquick {

Chevron::Chevron(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setAntialiasing(true);
  connect(this, &Chevron::changed, this, &Chevron::follow);
  follow();
}

void Chevron::follow() {
  const double across = size_ + stroke_;
  const double deep = size_ / 2 + stroke_;
  setImplicitSize(direction_ == Down ? across : deep, direction_ == Down ? deep : across);
  update();
}

void Chevron::paint(QPainter* painter) {
  painter->setPen(QPen(color_, stroke_, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter->translate(width() / 2, height() / 2);
  if (direction_ != Down) painter->rotate(direction_ == Left ? 90 : -90);
  const double half = size_ / 2;
  painter->drawPolyline(
      QPolygonF({QPointF(-half, -half / 2), QPointF(0, half / 2), QPointF(half, -half / 2)}));
}

}  // namespace veltrane::qtquick
