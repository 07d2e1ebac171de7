#include "platform/qtquick/passkey_picture.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <numbers>

namespace veltrane::qtquick {
namespace {

/// The drawings below think in a square of this side.
constexpr double kSide = 80;
constexpr double kStroke = 3.6;

void drawKey(QPainter& painter) {
  painter.drawEllipse(QPointF(31, 31), 12, 12);
  painter.drawPolyline(QPolygonF{{39.5, 39.5}, {58, 58}, {58, 58}});
  painter.drawLine(QPointF(50, 50), QPointF(56, 44));
  painter.drawLine(QPointF(58, 58), QPointF(63, 53));
}

void drawLock(QPainter& painter) {
  painter.drawRoundedRect(QRectF(23, 37, 34, 26), 6, 6);
  QPainterPath shackle({30, 37});
  shackle.lineTo(30, 28);
  shackle.arcTo(QRectF(30, 17, 20, 22), 180, -180);
  shackle.lineTo(50, 37);
  painter.drawPath(shackle);
  painter.drawLine(QPointF(40, 47), QPointF(40, 53));
}

/// A security key that lies with its plug to the right: its handle, of this height, and the plug.
QRectF drawSecurityKey(QPainter& painter, const QPointF& middle, double height) {
  const double width = 1.35 * height;
  const QRectF handle(middle.x() - 0.7 * width, middle.y() - height / 2, width, height);
  painter.drawRoundedRect(handle, 0.28 * height, 0.28 * height);
  painter.drawRect(QRectF(handle.right(), middle.y() - 0.28 * height, 0.5 * height, 0.56 * height));
  return handle;
}

/// Where a key is touched.
void drawContact(QPainter& painter, const QPointF& at, double radius, double strength) {
  QColor ink = painter.pen().color();
  ink.setAlphaF(static_cast<float>(ink.alphaF() * strength));
  painter.save();
  painter.setPen(Qt::NoPen);
  painter.setBrush(ink);
  painter.drawEllipse(at, radius, radius);
  painter.restore();
}

void drawInsert(QPainter& painter, double progress) {
  constexpr double kPort = 58;
  const double way = 11 * (1 - progress);
  painter.save();
  painter.setClipRect(QRectF(0, 0, kPort, kSide));
  const QRectF handle = drawSecurityKey(painter, {38 - way, 40}, 24);
  drawContact(painter, handle.center(), 3.4, 1);
  painter.restore();
  painter.drawPolyline(QPolygonF{{68, 16}, {60, 16}, {60, 64}, {68, 64}});
}

/// A ring widens and fades behind the key.
void drawTouch(QPainter& painter, double progress) {
  const QRectF handle = drawSecurityKey(painter, {40, 40}, 26);
  drawContact(painter, handle.center(), 4.6, 1);
  QPainterPath around;
  around.addRect(0, 0, kSide, kSide);
  QPainterPath key;
  key.addRoundedRect(handle.adjusted(-3, -3, 3, 3), 9, 9);
  key.addRect(QRectF(handle.right(), 29, 18, 22));
  QColor ring = painter.pen().color();
  ring.setAlphaF(static_cast<float>(ring.alphaF() * (0.85 - 0.7 * progress)));
  painter.setClipPath(around.subtracted(key));
  painter.setPen(QPen(ring, 2.4));
  painter.drawEllipse(handle.center(), 18 + 14 * progress, 18 + 14 * progress);
}

/// The contacts take turns.
void drawSelect(QPainter& painter, double progress) {
  const double upper = 0.5 + 0.5 * std::cos(2 * std::numbers::pi * progress);
  const QRectF first = drawSecurityKey(painter, {40, 25}, 20);
  const QRectF second = drawSecurityKey(painter, {40, 55}, 20);
  drawContact(painter, first.center(), 3.4, 0.25 + 0.75 * upper);
  drawContact(painter, second.center(), 3.4, 1 - 0.75 * upper);
}

void drawNotice(QPainter& painter) {
  painter.drawEllipse(QPointF(40, 40), 22, 22);
  painter.drawLine(QPointF(40, 29), QPointF(40, 42));
  painter.setBrush(painter.pen().color());
  painter.drawEllipse(QPointF(40, 50.5), 0.8, 0.8);
}

}  // namespace

PasskeyPicture::PasskeyPicture(QQuickItem* parent) : QQuickPaintedItem(parent) {
  for (const auto change : {&PasskeyPicture::kindChanged, &PasskeyPicture::inkChanged,
                            &PasskeyPicture::progressChanged})
    connect(this, change, this, [this] { update(); });
}

void PasskeyPicture::paint(QPainter* painter) {
  painter->setRenderHint(QPainter::Antialiasing);
  painter->scale(width() / kSide, height() / kSide);
  painter->setPen(QPen(ink_, kStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  switch (kind_) {
    case Key:
      return drawKey(*painter);
    case Lock:
      return drawLock(*painter);
    case Insert:
      return drawInsert(*painter, progress_);
    case Touch:
      return drawTouch(*painter, progress_);
    case Select:
      return drawSelect(*painter, progress_);
    case Notice:
      return drawNotice(*painter);
  }
}

}  // namespace veltrane::qtquick
