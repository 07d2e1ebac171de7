#pragma once

#include "veltrane/face/pixel_buffer.h"

namespace veltrane::qtquick {

struct FramePart {
  int x = 0;
  int y = 0;
  PixelSize size;
};

/// The part of a sound frame, as it lies in memory, at another size; the same way up. Parts begin
/// at even places; `size` is even unless it is the part's. Without the library that scales, and
/// where the size is the part's own, the pixels are the frame's and as long-lived as it is.
PixelBuffer scaled(const PixelBuffer& frame, const FramePart& part, PixelSize size);

}  // namespace veltrane::qtquick
