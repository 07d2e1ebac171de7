#include "platform/qtquick/cell_display.h"

namespace veltrane::qtquick {

void CellDisplay::setCell(veltrane::qtquick::Cell* cell) {
  if (cell == cell_) return;
  if (cell_ && shown_) cell_->disappear();
  cell_ = cell;
  if (cell_ && shown_) cell_->appear();
  emit changed();
}

void CellDisplay::setShown(bool shown) {
  if (shown == shown_) return;
  shown_ = shown;
  if (cell_) shown_ ? cell_->appear() : cell_->disappear();
  emit changed();
}

}  // namespace veltrane::qtquick
