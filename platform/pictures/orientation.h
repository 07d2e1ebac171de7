#pragma once

#include <cstdint>
#include <string_view>

#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures {

/// What to do with a stored picture so that it stands upright; the numbers are EXIF's.
enum class Orientation : std::uint8_t {
  upright = 1,
  mirrored = 2,
  upsideDown = 3,
  flipped = 4,
  transposed = 5,
  turnedRight = 6,
  transversed = 7,
  turnedLeft = 8,
};

/// Reads the orientation out of EXIF data, with or without its "Exif" header; upright when there is
/// none that makes sense.
Orientation orientationOf(std::string_view exif);

/// The picture as it is to be seen.
Picture turned(Picture picture, Orientation orientation);

}  // namespace veltrane::pictures
