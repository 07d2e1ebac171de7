#include "platform/qtquick/face_oval.h"

#include <QPainter>
#include <QPainterPath>

#include "platform/qtquick/convert.h"
#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::qtquick {

FaceOval::FaceOval(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setAntialiasing(true);
}

void FaceOval::setCapture(FaceCaptureItem* capture) {
  if (capture == capture_) return;
  if (capture_) disconnect(capture_, nullptr, this, nullptr);
  capture_ = capture;
  if (capture_) connect(capture_, &ViewItem::changed, this, &FaceOval::follow);
  follow();
  emit captureChanged();
}

void FaceOval::setStroke(const QColor& color) {
  if (color == stroke_) return;
  stroke_ = color;
  update();
  emit strokeChanged();
}

void FaceOval::follow() {
  const QRectF oval = capture_ ? capture_->oval() : QRectF();
  if (oval == oval_) return;
  oval_ = oval;
  update();
}

void FaceOval::paint(QPainter* painter) {
  if (!capture_ || oval_.isEmpty()) return;
  const FaceImageCaptureVC& state = capture_->capture();
  QPainterPath around;
  around.setFillRule(Qt::OddEvenFill);
  around.addRect(boundingRect());
  around.addEllipse(oval_);
  QColor dim = toQColor(state.dimming.color);
  dim.setAlphaF(dim.alphaF() * static_cast<float>(state.dimming.opacity));
  painter->setRenderHint(QPainter::Antialiasing);
  painter->fillPath(around, dim);
  const Rect& line = state.imgView.path;
  painter->setPen(QPen(stroke_, state.imgView.lineWidth));
  painter->drawEllipse(QRectF(line.x, line.y, line.width, line.height));
}

}  // namespace veltrane::qtquick
