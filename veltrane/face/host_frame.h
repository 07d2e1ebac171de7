#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// 4:2:0 samples as a phone's camera lays them out: a plane of luma, and colour differences at half
/// its width and height, each `chromaStep` bytes behind the one before.
struct Samples420 {
  /// Of the luma, in pixels.
  PixelSize size;
  const std::uint8_t* luma = nullptr;
  const std::uint8_t* blue = nullptr;
  const std::uint8_t* red = nullptr;
  std::ptrdiff_t lumaStride = 0;
  std::ptrdiff_t chromaStride = 0;
  /// 1: planes of their own. 2: both in one plane, in turn, whichever comes first.
  std::ptrdiff_t chromaStep = 1;
  ColorMatrix matrix = ColorMatrix::bt601;
  ColorRange range = ColorRange::video;
  Turn turn = Turn::none;
};

/// A frame of such samples. It points into `memory`, which it keeps, where one of our formats says
/// what lies there; for red before blue, and for other steps, it is a copy of ours, wiped when it
/// goes, and `memory` is not kept. Null when the samples make no sound frame.
PixelBufferPtr frameOf(const Samples420& samples, std::shared_ptr<const void> memory);

}  // namespace veltrane
