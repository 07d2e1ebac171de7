#pragma once

#include <cstdint>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane::face {

/// How luma and colour differences become red, green and blue, in whole numbers of 16 bits.
struct ColorWeights {
  std::int16_t lumaOffset, luma, redV, greenU, greenV, blueU;
};

ColorWeights colorWeightsOf(ColorMatrix matrix, ColorRange range);

/// Samples of a row. Two pixels share one of each colour difference, which lie `step` bytes apart:
/// 1, or 2 where both are in turn.
struct ColorSamples {
  const std::uint8_t* luma;
  const std::uint8_t* blue;
  const std::uint8_t* red;
  int step;
};

/// `count` pixels: red, green, blue and 255, in this order in memory. Off the exact value by less
/// than 0.03 beyond the rounding; the same on every processor.
void joinColors(const ColorWeights& weights, const ColorSamples& samples, int count,
                std::uint32_t* out);

}  // namespace veltrane::face
