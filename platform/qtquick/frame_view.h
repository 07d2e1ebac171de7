#pragma once

#include <QRectF>
#include <QSizeF>

#include "veltrane/face/pixel_buffer.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::qtquick {

/// A frame as a view shows it.
struct FrameView {
  /// Upright, mirrored if asked for; wiped when the last handle goes. Null for an unsound frame.
  PicturePtr picture;
  /// Where it is drawn, in points of the view. It covers the view and may reach over its edges by
  /// less than two pixels of the frame on each side.
  QRectF target;
};

struct FrameViewOptions {
  /// Points.
  QSizeF view;
  /// Pixels of the screen in a point.
  double density = 1;
  bool isMirrored = true;
  /// The picture has as many pixels as the screen. Otherwise never more than the frame: what draws
  /// it enlarges.
  bool enlarges = true;
};

/// The part of a frame that fills the view, in the pixels that the view has: the rest of a large
/// frame is never looked at, nor is it converted before it has been made smaller. Any thread.
FrameView frameViewOf(const PixelBuffer& frame, const FrameViewOptions& options);

}  // namespace veltrane::qtquick
