#pragma once

#include <QRectF>
#include <QSize>
#include <QSizeF>

#include "veltrane/toolkit/controls.h"

namespace veltrane::qtquick {

/// Where a picture is drawn.
struct Placement {
  QRectF target;       ///< In points, within the room; empty: nothing is to be seen.
  QRectF source;       ///< The part of the picture that is seen, in its pixels.
  bool crisp = false;  ///< Every pixel becomes a square of whole pixels of the screen.

  /// Pixels of the screen that the target covers.
  QSize onScreen(double density) const;
};

/// The view's picture in a room of this size, in points, on a screen of `density` pixels a point. A
/// mode that nobody has set is aspectFit. Edges lie on whole pixels of the screen.
Placement placementOf(const ImageView& view, QSizeF room, double density);

/// A square picture of one dark and one light or transparent colour, such as a QR code: what reads
/// it needs sharp edges and white around it.
bool isCode(const Picture& picture);

}  // namespace veltrane::qtquick
