#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace veltrane::sandbox {

/// Pixels, row by row, four bytes each: red, green, blue and alpha, not premultiplied.
struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;

  Bitmap(int w, int h)
      : width(w),
        height(h),
        pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 4) {}

  std::uint8_t* at(int x, int y) { return pixels.data() + offset(x, y); }
  const std::uint8_t* at(int x, int y) const { return pixels.data() + offset(x, y); }

 private:
  std::size_t offset(int x, int y) const {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
            static_cast<std::size_t>(x)) *
           4;
  }
};

}  // namespace veltrane::sandbox
