// A picture as one of a camera's: its pixels turned, its colours in the format's terms.
#include <algorithm>
#include <cmath>
#include <utility>

#include "tests/vision/face_clip.h"

namespace veltrane::testing {
namespace {

struct Turned {
  const Canvas& canvas;
  Turn turn;
  PixelSize size;

  Turned(const Canvas& from, Turn by)
      : canvas(from),
        turn(by),
        size(by == Turn::none || by == Turn::half ? from.size
                                                  : PixelSize{from.size.height, from.size.width}) {}

  /// Of the pixel that lies there before it is turned upright.
  const std::uint8_t* at(int x, int y) const {
    int column = std::min(x, size.width - 1);
    int row = std::min(y, size.height - 1);
    if (turn == Turn::quarter) {
      row = std::exchange(column, size.height - 1 - row);
    } else if (turn == Turn::half) {
      column = size.width - 1 - column;
      row = size.height - 1 - row;
    } else if (turn == Turn::threeQuarters) {
      column = std::exchange(row, size.width - 1 - column);
    }
    return canvas.rgb.data() + 3 * (static_cast<std::size_t>(row) * canvas.size.width +
                                    static_cast<std::size_t>(column));
  }
};

std::uint8_t byte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}
// BT.601 in video range, as a buffer has it unless it says otherwise.
double brightness(const std::uint8_t* rgb) {
  return 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
}
std::uint8_t luma(const std::uint8_t* rgb) {
  return byte(16 + brightness(rgb) * 219 / 255);
}
std::uint8_t blueness(const std::uint8_t* rgb) {
  return byte(128 + (rgb[2] - brightness(rgb)) / 1.772 * 224 / 255);
}
std::uint8_t redness(const std::uint8_t* rgb) {
  return byte(128 + (rgb[0] - brightness(rgb)) / 1.402 * 224 / 255);
}

}  // namespace

PixelBufferPtr frameOf(const Canvas& canvas, PixelFormat format, Turn turn, std::size_t extra) {
  const Turned from(canvas, turn);
  const auto made = PixelBuffer::allocate(format, from.size, extra);
  made.buffer->turn = turn;
  const auto row = [&](std::size_t plane, int y) {
    return made.planes[plane] + y * made.buffer->planes[plane].stride;
  };
  for (int y = 0; y < from.size.height; ++y) {
    for (int x = 0; x < from.size.width; ++x) {
      const std::uint8_t* const rgb = from.at(x, y);
      const bool hasColor = x % 2 == 0 && y % 2 == 0;
      switch (format) {
        case PixelFormat::nv12:
          row(0, y)[x] = luma(rgb);
          if (hasColor) {
            row(1, y / 2)[x] = blueness(rgb);
            row(1, y / 2)[x + 1] = redness(rgb);
          }
          break;
        case PixelFormat::i420:
          row(0, y)[x] = luma(rgb);
          if (hasColor) {
            row(1, y / 2)[x / 2] = blueness(rgb);
            row(2, y / 2)[x / 2] = redness(rgb);
          }
          break;
        case PixelFormat::yuy2:
          row(0, y)[2 * x] = luma(rgb);
          row(0, y)[2 * x + 1] = x % 2 == 0 ? blueness(rgb) : redness(rgb);
          break;
        case PixelFormat::rgb:
          std::copy_n(rgb, 3, row(0, y) + 3 * x);
          break;
        case PixelFormat::bgra:
          std::reverse_copy(rgb, rgb + 3, row(0, y) + 4 * x);
          break;
      }
    }
  }
  return made.buffer;
}

}  // namespace veltrane::testing
