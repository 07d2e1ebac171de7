#include "platform/pictures/halving.h"

#include <algorithm>

#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

/// The mean of four pixels.
void mix(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, const std::uint8_t* d,
         std::uint8_t* to) {
  for (std::size_t i = 0; i < Picture::kBytesAPixel; ++i) {
    to[i] = static_cast<std::uint8_t>((a[i] + b[i] + c[i] + d[i] + 2) / 4);
  }
}

}  // namespace

Picture halved(const Picture& from, bool columns, bool rows) {
  const int across = columns ? 2 : 1;
  const int down = rows ? 2 : 1;
  const PixelSize last{from.size.width - 1, from.size.height - 1};
  Picture result = unwritten({last.width / across + 1, last.height / down + 1});
  result.isOpaque = from.isOpaque;
  for (int y = 0; y < result.size.height; ++y) {
    const std::uint8_t* upper = row(from, y * down);
    const std::uint8_t* lower = row(from, std::min(y * down + down - 1, last.height));
    std::uint8_t* to = row(result, y);
    for (int x = 0; x < result.size.width; ++x, to += Picture::kBytesAPixel) {
      const std::ptrdiff_t left = std::ptrdiff_t{4} * x * across;
      const std::ptrdiff_t right =
          std::ptrdiff_t{4} * std::min(x * across + across - 1, last.width);
      mix(upper + left, upper + right, lower + left, lower + right, to);
    }
  }
  return result;
}

}  // namespace veltrane::pictures
