#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

namespace veltrane::qtquick {

/// The drawings of a passkey's panel, each on a square of any size.
class PasskeyPicture : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(Kind kind MEMBER kind_ NOTIFY kindChanged)
  Q_PROPERTY(QColor ink MEMBER ink_ NOTIFY inkChanged)
  /// Where the drawing's movement is, 0 to 1. Each is plain at 1.
  Q_PROPERTY(double progress MEMBER progress_ NOTIFY progressChanged)

 public:
  enum Kind { Key, Lock, Insert, Touch, Select, Notice };
  Q_ENUM(Kind)

  explicit PasskeyPicture(QQuickItem* parent = nullptr);
  void paint(QPainter* painter) override;

 signals:
  void kindChanged();
  void inkChanged();
  void progressChanged();

 private:
  Kind kind_ = Key;
  QColor ink_;
  double progress_ = 1;
};

}  // namespace veltrane::qtquick
