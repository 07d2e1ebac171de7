#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QSize>

#include "platform/qtquick/picture_placement.h"
#include "veltrane/toolkit/controls.h"

class QSGImageNode;

namespace veltrane::qtquick {

/// What an image view of the core shows, as a QML value. Copies share the pixels.
struct PictureValue {
  Q_GADGET
  QML_ANONYMOUS
  /// There is a picture.
  Q_PROPERTY(bool here READ isHere)
  /// A code that a camera reads.
  Q_PROPERTY(bool code READ isCode)

 public:
  PictureValue() = default;
  explicit PictureValue(const ImageView& view) : view(view) {}
  bool isHere() const { return view.image != nullptr; }
  bool isCode() const { return view.image && qtquick::isCode(*view.image); }
  friend bool operator==(const PictureValue& a, const PictureValue& b) {
    return a.view.image == b.view.image && a.view.contentMode == b.view.contentMode &&
           a.view.scale == b.view.scale;
  }

  ImageView view;
};

/// Draws a picture of the core, in its content mode and never mirrored. Where it can, it hands the
/// core's pixels to the scene graph as they are.
class PictureView : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(
      veltrane::qtquick::PictureValue picture READ picture WRITE setPicture NOTIFY pictureChanged)
  /// Of the corners, in points.
  Q_PROPERTY(double radius READ radius WRITE setRadius NOTIFY radiusChanged)
  /// Where the picture is drawn; empty when nothing is.
  Q_PROPERTY(QRectF drawn READ drawn NOTIFY drawnChanged)

 public:
  explicit PictureView(QQuickItem* parent = nullptr);

  const PictureValue& picture() const { return picture_; }
  void setPicture(const PictureValue& picture);
  double radius() const { return radius_; }
  void setRadius(double radius);
  QRectF drawn() const { return placement_.target; }

 signals:
  void pictureChanged();
  void radiusChanged();
  void drawnChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;

 private:
  double density() const;
  void place();
  bool needsOwnPixels() const;
  void fill(QSGImageNode& node) const;

  PictureValue picture_;
  double radius_ = 0;
  Placement placement_;
  /// What the node was made for is not what it should show.
  bool stale_ = false;
  /// Size of the pixels of its own that the node was made with.
  QSize made_;
};

}  // namespace veltrane::qtquick
