#pragma once

#include <cstdint>

#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures {

/// Close above this pixman draws nothing, and zimg's tables grow without measure.
constexpr int kMaxScaledSide = 32000;

enum class Filter : std::uint8_t {
  triangle,
  bicubic,
  lanczos,
};

/// Each fills `to`, whose size and pixels are set, from the sound picture `from`; false when it
/// cannot. Colours never exceed their alpha, and what is opaque stays so.
bool scaleWithZimg(const Picture& from, Picture& to, Filter filter);
bool scaleWithPixman(const Picture& from, Picture& to);

}  // namespace veltrane::pictures
