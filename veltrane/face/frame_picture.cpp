#include "veltrane/face/frame_picture.h"

#include <cstring>
#include <vector>

#include "veltrane/base/wipe.h"
#include "veltrane/face/frame_rows.h"

namespace veltrane::face {
namespace {

/// Where the pixels of a frame's row come to lie in the upright picture.
struct Placement {
  std::ptrdiff_t first;
  std::ptrdiff_t step;
};

Placement placementOf(const PixelBuffer& frame, std::ptrdiff_t y) {
  const std::ptrdiff_t width = frame.size.width;
  const std::ptrdiff_t height = frame.size.height;
  switch (frame.turn) {
    case Turn::none:
      break;
    case Turn::quarter:
      return {height - 1 - y, height};
    case Turn::half:
      return {(height - y) * width - 1, -1};
    case Turn::threeQuarters:
      return {(width - 1) * height + y, -height};
  }
  return {y * width, 1};
}

struct WipedPicture final : Picture {
  WipedPicture(PixelSize pixelSize, std::size_t bytes) : Picture{pixelSize, Pixels(bytes), true} {}
  ~WipedPicture() { wipe(pixels.data(), pixels.size()); }
  WipedPicture(const WipedPicture&) = delete;
  WipedPicture& operator=(const WipedPicture&) = delete;
};

}  // namespace

PicturePtr pictureFrom(const PixelBuffer& frame) {
  if (!frame.isSound()) return nullptr;
  const auto width = static_cast<std::size_t>(frame.size.width);
  const std::size_t bytes =
      width * static_cast<std::size_t>(frame.size.height) * Picture::kBytesAPixel;
  auto picture = std::make_shared<WipedPicture>(frame.uprightSize(), bytes);
  FrameRows rows(frame, 0, frame.size.width);
  if (frame.turn == Turn::none) {
    auto* const pixels = reinterpret_cast<std::uint32_t*>(picture->pixels.data());
    for (int y = 0; y < frame.size.height; ++y)
      rows.read(y, pixels + y * std::ptrdiff_t{frame.size.width});
    return picture;
  }
  std::vector<std::uint32_t> row(width);
  for (int y = 0; y < frame.size.height; ++y) {
    rows.read(y, row.data());
    const auto [first, step] = placementOf(frame, y);
    std::uint8_t* to = picture->pixels.data() + first * std::ptrdiff_t{Picture::kBytesAPixel};
    for (const std::uint32_t pixel : row) {
      std::memcpy(to, &pixel, Picture::kBytesAPixel);
      to += step * std::ptrdiff_t{Picture::kBytesAPixel};
    }
  }
  wipe(row.data(), row.size() * sizeof(std::uint32_t));
  return picture;
}

}  // namespace veltrane::face
