#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace veltrane {

struct PixelSize {
  int width = 0;
  int height = 0;

  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// A decoded picture, upright. Four bytes a pixel (red, green, blue, alpha; colours premultiplied
/// with alpha), rows from top to bottom without gaps.
struct Picture {
  PixelSize size;
  std::vector<std::uint8_t> pixels;
  /// Every alpha is 255.
  bool isOpaque = false;

  static constexpr std::size_t kBytesAPixel = 4;
  /// Pixels beyond which a picture is refused, decoded or scaled: 256 MiB.
  static constexpr std::int64_t kMaxPixels = std::int64_t{64} << 20;
};

/// Pictures are never changed once made, so threads may share them.
using PicturePtr = std::shared_ptr<const Picture>;

/// Whether a picture of this size may be held in memory.
constexpr bool isBearable(PixelSize size) {
  return size.width > 0 && size.height > 0 &&
         std::int64_t{size.width} * size.height <= Picture::kMaxPixels;
}

}  // namespace veltrane
