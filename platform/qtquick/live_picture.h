#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QQuickItem>

#include "platform/qtquick/face_capture_item.h"
#include "platform/qtquick/frame_view.h"

namespace veltrane::qtquick {

/// What the camera shows, filling the item. Draws the frame that the screen has at that moment, so
/// frames that come faster than they can be drawn are left out; keeps no frame, and wipes the
/// pixels that it has drawn.
class LivePicture : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(veltrane::qtquick::FaceCaptureItem* capture READ capture WRITE setCapture NOTIFY
                 captureChanged)

 public:
  explicit LivePicture(QQuickItem* parent = nullptr);

  FaceCaptureItem* capture() const { return capture_; }
  void setCapture(FaceCaptureItem* capture);

 signals:
  void captureChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;

 private:
  void redraw();
  FrameView frameView() const;

  QPointer<FaceCaptureItem> capture_;
  /// There is another frame than the node shows, or another size to show it in.
  bool stale_ = false;
};

}  // namespace veltrane::qtquick
