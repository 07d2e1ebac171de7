#include "veltrane/face/pixel_buffer.h"
#include "veltrane/base/wipe.h"

#include <cstdlib>
#include <utility>

namespace veltrane {
namespace {

constexpr int halved(int length) {
  return length / 2 + length % 2;
}

/// Bytes that are gone without a trace.
class WipedBytes {
 public:
  explicit WipedBytes(std::size_t count) : bytes_(count) {}
  ~WipedBytes() { wipe(bytes_.data(), bytes_.size()); }
  WipedBytes(const WipedBytes&) = delete;
  WipedBytes& operator=(const WipedBytes&) = delete;
  std::uint8_t* data() { return bytes_.data(); }

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace

std::size_t PixelBuffer::planeCount() const {
  if (format == PixelFormat::i420) return 3;
  return format == PixelFormat::nv12 ? 2 : 1;
}

PixelSize PixelBuffer::planeSize(std::size_t plane) const {
  const bool isLuma = plane == 0;
  switch (format) {
    case PixelFormat::nv12:
      return isLuma ? size : PixelSize{2 * halved(size.width), halved(size.height)};
    case PixelFormat::i420:
      return isLuma ? size : PixelSize{halved(size.width), halved(size.height)};
    case PixelFormat::yuy2:
      return {4 * halved(size.width), size.height};
    case PixelFormat::rgb:
      return {3 * size.width, size.height};
    case PixelFormat::bgra:
      return {4 * size.width, size.height};
  }
  return {};
}

bool PixelBuffer::isSound() const {
  if (!isBearable(size)) return false;
  for (std::size_t i = 0; i < planeCount(); ++i) {
    if (!planes[i].data || std::abs(planes[i].stride) < planeSize(i).width) return false;
  }
  return true;
}

PixelSize PixelBuffer::uprightSize() const {
  const bool lies = turn == Turn::quarter || turn == Turn::threeQuarters;
  return lies ? PixelSize{size.height, size.width} : size;
}

PixelBuffer::Writable PixelBuffer::allocate(PixelFormat format, PixelSize size, std::size_t extra) {
  Writable made{std::make_shared<PixelBuffer>()};
  made.buffer->format = format;
  made.buffer->size = size;
  std::size_t starts[kMostPlanes] = {};
  std::size_t total = 0;
  for (std::size_t i = 0; i < made.buffer->planeCount(); ++i) {
    const PixelSize plane = made.buffer->planeSize(i);
    const std::size_t stride = static_cast<std::size_t>(plane.width) + extra;
    starts[i] = std::exchange(total, total + stride * static_cast<std::size_t>(plane.height));
    made.buffer->planes[i].stride = static_cast<std::ptrdiff_t>(stride);
  }
  const auto memory = std::make_shared<WipedBytes>(total);
  for (std::size_t i = 0; i < made.buffer->planeCount(); ++i) {
    made.planes[i] = memory->data() + starts[i];
    made.buffer->planes[i].data = made.planes[i];
  }
  made.buffer->memory = memory;
  return made;
}

}  // namespace veltrane
