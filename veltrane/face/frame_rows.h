#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane::face {

/// Reads a frame's rows, as they lie there, as pixels of a picture: red, green, blue and 255, in
/// this order in memory. Rows may be left out, and columns too.
class FrameRows {
 public:
  /// `count` columns from `first` on, an even number. The frame is sound, has them, and lives
  /// longer.
  FrameRows(const PixelBuffer& frame, int first, int count);

  void read(int y, std::uint32_t* out);

 private:
  /// Of the conversion to red, green and blue, with 16 bits after the point.
  struct Coefficients {
    int lumaOffset, luma, redV, greenU, greenV, blueU;
  };
  /// What the colour samples add to each pixel of a row.
  struct Chroma {
    std::vector<int> red, green, blue;
  };

  static Coefficients coefficientsOf(const PixelBuffer& frame);
  const std::uint8_t* row(std::size_t plane, int y, int column) const;
  void readPlanes(int y, std::uint32_t* out);
  void readInterleaved(const std::uint8_t* samples, std::uint32_t* out);
  void readColors(const std::uint8_t* samples, int step, int red, std::uint32_t* out) const;
  void readChroma(const std::uint8_t* u, const std::uint8_t* v, int step);

  const PixelBuffer& frame_;
  const Coefficients by_;
  const int first_;
  const int count_;
  /// The row that `chroma_` is of.
  int chromaRow_ = -1;
  Chroma chroma_;
  std::vector<std::uint8_t> luma_;
};

}  // namespace veltrane::face
