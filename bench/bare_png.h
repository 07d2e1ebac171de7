#pragma once

#include <png.h>

#include <cstddef>

#include "veltrane/toolkit/picture.h"

namespace veltrane::bench {

/// Bytes of the PNG that libpng writes of an opaque picture: as it stands in memory
/// (`PNG_COLOR_TYPE_RGBA`) or its colours alone (`PNG_COLOR_TYPE_RGB`). `tune` changes libpng's
/// default settings.
std::size_t barePNG(const Picture& picture, int color, void (*tune)(png_structp) = nullptr);

}  // namespace veltrane::bench
