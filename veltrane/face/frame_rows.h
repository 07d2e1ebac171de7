#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "veltrane/face/color_row.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane::face {

/// Reads a frame's rows, as they lie there, as pixels of a picture: red, green, blue and 255, in
/// this order in memory. Rows may be left out, and columns too.
class FrameRows {
 public:
  /// `count` columns from `first` on, an even number. The frame is sound, has them, and lives
  /// longer.
  FrameRows(const PixelBuffer& frame, int first, int count);
  ~FrameRows();
  FrameRows(const FrameRows&) = delete;
  FrameRows& operator=(const FrameRows&) = delete;

  void read(int y, std::uint32_t* out);

 private:
  const std::uint8_t* row(std::size_t plane, int y, int column) const;
  void readInterleaved(const std::uint8_t* samples, std::uint32_t* out);
  void readColors(const std::uint8_t* samples, int step, int red, std::uint32_t* out) const;

  const PixelBuffer& frame_;
  const ColorWeights weights_;
  const int first_;
  const int count_;
  /// Samples that lay in turn, sorted.
  std::vector<std::uint8_t> luma_, blue_, red_;
};

}  // namespace veltrane::face
