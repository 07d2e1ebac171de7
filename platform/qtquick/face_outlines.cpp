#include "platform/qtquick/face_outlines.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "platform/qtquick/convert.h"
#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::qtquick {
namespace {

/// Steps that make up the soft edge of a shadow.
constexpr int kShadowSteps = 5;
// Lines belong to the picture and grow and shrink with it. Beyond these bounds, in points and as
// often as wide as they are said to be, they could not be seen for a camera of more than 4K, and
// would hide the face in the picture of one with few pixels.
constexpr double kThinnest = 1.5;
constexpr double kMostEnlarged = 2;

double widthOf(const FaceShapeLayer& layer, const DetectionOverlay& overlay) {
  const double width = layer.lineWidth * std::abs(overlay.affineTransform.d);
  return std::clamp(width, kThinnest, kMostEnlarged * layer.lineWidth);
}

double shadowRadiusOf(const FaceShapeLayer& layer, const DetectionOverlay& overlay) {
  return layer.shadowRadius * widthOf(layer, overlay) / layer.lineWidth;
}

double reachOf(const FaceShapeLayer& layer, const DetectionOverlay& overlay) {
  return widthOf(layer, overlay) / 2 + shadowRadiusOf(layer, overlay);
}

QPen roundPen(const QColor& color, double width) {
  return {color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

}  // namespace

FaceOutlines::FaceOutlines(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setAntialiasing(true);
}

void FaceOutlines::setCapture(FaceCaptureItem* capture) {
  if (capture == capture_) return;
  if (capture_) disconnect(capture_, nullptr, this, nullptr);
  capture_ = capture;
  if (capture_) connect(capture_, &ViewItem::changed, this, &FaceOutlines::follow);
  follow();
  emit captureChanged();
}

QPainterPath FaceOutlines::inView(const FaceShapeLayer& layer) const {
  const auto& transform = capture_->capture().detectionOverlayLayer.affineTransform;
  QPainterPath path;
  for (const auto& line : layer.path) {
    bool isFirst = true;
    for (const Point& point : line.points) {
      const auto [x, y] = transform.apply(point);
      if (isFirst) path.moveTo(x, y);
      if (!isFirst) path.lineTo(x, y);
      isFirst = false;
    }
    if (line.isClosed && !isFirst) path.closeSubpath();
  }
  return path;
}

void FaceOutlines::follow() {
  QPainterPath rectangles, landmarks;
  double reach = 0;
  if (capture_) {
    const FaceImageCaptureVC& state = capture_->capture();
    rectangles = inView(state.detectedFaceRectangleShapeLayer);
    landmarks = inView(state.detectedFaceLandmarksShapeLayer);
    reach = std::max(reachOf(state.detectedFaceRectangleShapeLayer, state.detectionOverlayLayer),
                     reachOf(state.detectedFaceLandmarksShapeLayer, state.detectionOverlayLayer));
  }
  if (rectangles == rectangles_ && landmarks == landmarks_) return;
  rectangles_ = rectangles;
  landmarks_ = landmarks;
  QRectF covered;
  for (const QPainterPath* path : {&rectangles_, &landmarks_}) {
    if (!path->isEmpty()) covered |= path->boundingRect();
  }
  setVisible(!covered.isNull());
  if (covered.isNull()) return;
  covered.adjust(-reach, -reach, reach, reach);
  if (const QQuickItem* under = parentItem()) covered &= under->boundingRect();
  const QRect whole = covered.toAlignedRect();
  setPosition(whole.topLeft());
  setSize(whole.size());
  update();
}

void FaceOutlines::paint(QPainter* painter) {
  if (!capture_) return;
  painter->setRenderHint(QPainter::Antialiasing);
  painter->translate(-position());
  const FaceImageCaptureVC& state = capture_->capture();
  paintLayer(*painter, state.detectedFaceRectangleShapeLayer, rectangles_);
  paintLayer(*painter, state.detectedFaceLandmarksShapeLayer, landmarks_);
}

void FaceOutlines::paintLayer(QPainter& painter, const FaceShapeLayer& layer,
                              const QPainterPath& path) const {
  const auto& overlay = capture_->capture().detectionOverlayLayer;
  const double width = widthOf(layer, overlay);
  const double radius = shadowRadiusOf(layer, overlay);
  QColor shadow(Qt::black);
  // As many strokes of this opacity over each other are as dark as the shadow is at the line.
  const double rest = std::pow(1 - layer.shadowOpacity, 1.0 / kShadowSteps);
  shadow.setAlphaF(static_cast<float>(1 - rest));
  for (int step = kShadowSteps; step > 0; --step) {
    painter.strokePath(path, roundPen(shadow, width + 2 * radius * step / kShadowSteps));
  }
  painter.strokePath(path, roundPen(toQColor(layer.strokeColor), width));
}

}  // namespace veltrane::qtquick
