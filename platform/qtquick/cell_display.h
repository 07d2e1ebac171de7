#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QPointer>

#include "platform/qtquick/cell_items.h"

namespace veltrane::qtquick {

/// A delegate's word that it shows a row, until it is destroyed or says otherwise. A list that uses
/// its delegates again keeps some that show nothing.
class CellDisplay : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(veltrane::qtquick::Cell* cell READ cell WRITE setCell NOTIFY changed)
  Q_PROPERTY(bool shown READ isShown WRITE setShown NOTIFY changed)

 public:
  using QObject::QObject;
  ~CellDisplay() override { setShown(false); }

  veltrane::qtquick::Cell* cell() const { return cell_; }
  void setCell(veltrane::qtquick::Cell* cell);
  bool isShown() const { return shown_; }
  void setShown(bool shown);

 signals:
  void changed();

 private:
  QPointer<veltrane::qtquick::Cell> cell_;
  bool shown_ = true;
};

}  // namespace veltrane::qtquick
