#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QPointer>
#include <QQuickPaintedItem>

#include "platform/qtquick/face_capture_item.h"

namespace veltrane::qtquick {

/// The oval guide over the live picture: everything around it darkened, and its line.
class FaceOval : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(veltrane::qtquick::FaceCaptureItem* capture READ capture WRITE setCapture NOTIFY
                 captureChanged)
  /// Of the line; apart from the screen's own colour so that it can be led there smoothly.
  Q_PROPERTY(QColor stroke READ stroke WRITE setStroke NOTIFY strokeChanged)

 public:
  explicit FaceOval(QQuickItem* parent = nullptr);

  FaceCaptureItem* capture() const { return capture_; }
  void setCapture(FaceCaptureItem* capture);
  QColor stroke() const { return stroke_; }
  void setStroke(const QColor& color);
  void paint(QPainter* painter) override;

 signals:
  void captureChanged();
  void strokeChanged();

 private:
  void follow();

  QPointer<FaceCaptureItem> capture_;
  QRectF oval_;
  QColor stroke_;
};

}  // namespace veltrane::qtquick
