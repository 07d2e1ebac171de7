#pragma once

#include <bit>
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

/// A pixel of these colours, each of 8 bits: red, green, blue and 255, in this order in memory.
constexpr std::uint32_t packed(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  if constexpr (std::endian::native == std::endian::little) {
    return red | green << 8U | blue << 16U | 0xFF000000U;
  }
  return red << 24U | green << 16U | blue << 8U | 0xFFU;
}

/// `count` pixels, each as `packed`. Off the exact value by less than 0.03 beyond the rounding; the
/// same on every processor.
void joinColors(const ColorWeights& weights, const ColorSamples& samples, int count,
                std::uint32_t* out);

}  // namespace veltrane::face
