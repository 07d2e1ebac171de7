#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/sandbox/pictures/bitmap.h"

namespace veltrane::sandbox {

/// The names of the drawings: icons of 40 x 40 points, and a landscape of 320 x 180.
std::vector<std::string> drawingNames();

/// The drawing of that name, `scale` pixels a point; nothing when there is none.
std::optional<Bitmap> drawing(const std::string& name, int scale);

}  // namespace veltrane::sandbox
