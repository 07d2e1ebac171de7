#pragma once

#include <memory>

#include "veltrane/face/pixel_buffer.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::face {

/// The whole of a frame as an upright, opaque picture that is not mirrored, or null when the frame
/// is not sound. Its pixels are wiped when it goes. Any thread.
///
/// Colours by ITU-R BT.601 or BT.709, whichever the frame names, for video or full range, right to
/// the rounding and less than 0.03 beyond it. Each colour sample of 4:2:0 and 4:2:2 stands for the
/// pixels that share it.
PicturePtr pictureFrom(const PixelBuffer& frame);

}  // namespace veltrane::face
