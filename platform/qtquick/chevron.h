#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

namespace veltrane::qtquick {

/// A thin arrow head: two strokes that meet in its tip. One item, since lists have one in every
/// row; it keeps its direction where the layout is mirrored.
class Chevron : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(Direction direction MEMBER direction_ NOTIFY changed)
  Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)
  /// Across the open side, in points; the head is half as deep.
  Q_PROPERTY(double size MEMBER size_ NOTIFY changed)
  /// Width of the strokes, in points.
  Q_PROPERTY(double stroke MEMBER stroke_ NOTIFY changed)

 public:
  enum Direction { Down, Left, Right };
  Q_ENUM(Direction)

  explicit Chevron(QQuickItem* parent = nullptr);
  void paint(QPainter* painter) override;

 signals:
  void changed();

 private:
  void follow();

  Direction direction_ = Down;
  QColor color_ = Qt::black;
  double size_ = 10;
  double stroke_ = 1.6;
};

}  // namespace veltrane::qtquick
