#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPainterPath>
#include <QPointer>
#include <QQuickPaintedItem>

#include "platform/qtquick/face_capture_item.h"

namespace veltrane {
struct FaceShapeLayer;
}

namespace veltrane::qtquick {

/// The lines around the faces that have been found. Lies over its parent, no larger than the lines:
/// they change with every frame, and only what they cover is drawn anew.
class FaceOutlines : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(veltrane::qtquick::FaceCaptureItem* capture READ capture WRITE setCapture NOTIFY
                 captureChanged)

 public:
  explicit FaceOutlines(QQuickItem* parent = nullptr);

  FaceCaptureItem* capture() const { return capture_; }
  void setCapture(FaceCaptureItem* capture);
  void paint(QPainter* painter) override;

 signals:
  void captureChanged();

 private:
  void follow();
  QPainterPath inView(const FaceShapeLayer& layer) const;
  void paintLayer(QPainter& painter, const FaceShapeLayer& layer, const QPainterPath& path) const;

  QPointer<FaceCaptureItem> capture_;
  QPainterPath rectangles_;
  QPainterPath landmarks_;
};

}  // namespace veltrane::qtquick
