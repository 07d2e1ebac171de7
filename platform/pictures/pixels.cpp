#include "platform/pictures/pixels.h"

#include <algorithm>

namespace veltrane::pictures {

Picture unwritten(PixelSize size) {
  return {.size = size, .pixels = decltype(Picture::pixels)(byteCount(size)), .isOpaque = false};
}

Picture blank(PixelSize size) {
  Picture picture = unwritten(size);
  std::fill(picture.pixels.begin(), picture.pixels.end(), std::uint8_t{0});
  return picture;
}

bool isSound(const Picture& picture) {
  return isBearable(picture.size) && picture.pixels.size() == byteCount(picture.size);
}

bool hasOnlyOpaquePixels(const Picture& picture) {
  for (int y = 0; y < picture.size.height; ++y) {
    const std::uint8_t* pixels = row(picture, y);
    unsigned all = 255;
    for (int x = 0; x < picture.size.width; ++x) all &= pixels[4 * x + 3];
    if (all != 255) return false;
  }
  return true;
}

void premultiply(Picture& picture) {
  std::uint8_t* pixels = picture.pixels.data();
  for (std::size_t at = 0; at < picture.pixels.size(); at += 4) {
    const unsigned alpha = pixels[at + 3];
    for (std::size_t i = at; i < at + 3; ++i) pixels[i] = scaled(pixels[i], alpha);
  }
}

void clampToAlpha(std::uint8_t* pixels, std::size_t count) {
  for (std::size_t at = 0; at < 4 * count; at += 4) {
    for (std::size_t i = at; i < at + 3; ++i) pixels[i] = std::min(pixels[i], pixels[at + 3]);
  }
}

void unpremultiply(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
  for (std::size_t at = 0; at < 4 * count; at += 4) {
    const unsigned alpha = from[at + 3];
    for (std::size_t i = at; i < at + 3; ++i) {
      const unsigned straight = alpha == 0 ? 0 : (from[i] * 255U + alpha / 2) / alpha;
      to[i] = static_cast<std::uint8_t>(std::min(straight, 255U));
    }
    to[at + 3] = from[at + 3];
  }
}

}  // namespace veltrane::pictures
