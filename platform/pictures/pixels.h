#pragma once

#include <cstddef>
#include <cstdint>

#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures {

constexpr std::size_t byteCount(PixelSize size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
         Picture::kBytesAPixel;
}

/// Bytes of one row.
constexpr std::size_t rowBytes(PixelSize size) {
  return static_cast<std::size_t>(size.width) * Picture::kBytesAPixel;
}

inline std::uint8_t* row(Picture& picture, int y) {
  return picture.pixels.data() + static_cast<std::size_t>(y) * rowBytes(picture.size);
}

inline const std::uint8_t* row(const Picture& picture, int y) {
  return picture.pixels.data() + static_cast<std::size_t>(y) * rowBytes(picture.size);
}

/// value * factor / 255, rounded.
constexpr std::uint8_t scaled(unsigned value, unsigned factor) {
  const unsigned product = value * factor + 128;
  return static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
}

/// A picture of that size, which must be bearable, for pixels that are about to be written.
Picture unwritten(PixelSize size);
/// The same, all transparent.
Picture blank(PixelSize size);
/// Whether size and pixels fit each other, and somebody's memory.
bool isSound(const Picture& picture);
bool hasOnlyOpaquePixels(const Picture& picture);
void premultiply(Picture& picture);
/// Colours of a premultiplied pixel never exceed its alpha; filters that overshoot break that.
void clampToAlpha(std::uint8_t* pixels, std::size_t count);
/// Writes `count` pixels with their colours divided by alpha. Premultiplying gives the same again.
void unpremultiply(const std::uint8_t* from, std::uint8_t* to, std::size_t count);

}  // namespace veltrane::pictures
