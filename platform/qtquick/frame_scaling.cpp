#include "platform/qtquick/frame_scaling.h"

#include <libyuv.h>

#include <algorithm>
#include <cstddef>

namespace veltrane::qtquick {
namespace {

/// Bytes to the first sample of a place in a plane.
std::ptrdiff_t offsetOf(const PixelBuffer& frame, std::size_t plane, int x, int y) {
  const bool isColor = plane > 0;
  const std::ptrdiff_t row = isColor ? y / 2 : y;
  const std::ptrdiff_t column = [&]() -> std::ptrdiff_t {
    switch (frame.format) {
      case PixelFormat::nv12:
        return x;
      case PixelFormat::i420:
        return isColor ? x / 2 : x;
      case PixelFormat::yuy2:
        return std::ptrdiff_t{2} * x;
      case PixelFormat::rgb:
        return std::ptrdiff_t{3} * x;
      case PixelFormat::bgra:
        return std::ptrdiff_t{4} * x;
    }
    return 0;
  }();
  return row * frame.planes[plane].stride + column;
}

PixelBuffer cut(const PixelBuffer& frame, const FramePart& part) {
  PixelBuffer result = frame;
  result.size = part.size;
  for (std::size_t i = 0; i < frame.planeCount(); ++i) {
    result.planes[i].data += offsetOf(frame, i, part.x, part.y);
  }
  return result;
}

PixelBuffer::Writable like(const PixelBuffer& frame, PixelFormat format, PixelSize size) {
  auto made = PixelBuffer::allocate(format, size);
  made.buffer->matrix = frame.matrix;
  made.buffer->range = frame.range;
  made.buffer->turn = frame.turn;
  return made;
}

// The library counts bytes in an int, which a frame's rows fit.
int strideOf(const PixelBuffer& frame, std::size_t plane) {
  return static_cast<int>(frame.planes[plane].stride);
}

PixelBuffer scaledI420(const PixelBuffer& from, PixelSize size) {
  const auto to = like(from, PixelFormat::i420, size);
  const PixelBuffer& target = *to.buffer;
  libyuv::I420Scale(from.planes[0].data, strideOf(from, 0), from.planes[1].data, strideOf(from, 1),
                    from.planes[2].data, strideOf(from, 2), from.size.width, from.size.height,
                    to.planes[0], strideOf(target, 0), to.planes[1], strideOf(target, 1),
                    to.planes[2], strideOf(target, 2), size.width, size.height, libyuv::kFilterBox);
  return target;
}

PixelBuffer scaledNV12(const PixelBuffer& from, PixelSize size) {
  const auto to = like(from, PixelFormat::nv12, size);
  const PixelBuffer& target = *to.buffer;
  libyuv::NV12Scale(from.planes[0].data, strideOf(from, 0), from.planes[1].data, strideOf(from, 1),
                    from.size.width, from.size.height, to.planes[0], strideOf(target, 0),
                    to.planes[1], strideOf(target, 1), size.width, size.height, libyuv::kFilterBox);
  return target;
}

PixelBuffer scaledYUY2(const PixelBuffer& from, PixelSize size) {
  const auto to = like(from, PixelFormat::i420, from.size);
  const PixelBuffer& whole = *to.buffer;
  libyuv::YUY2ToI420(from.planes[0].data, strideOf(from, 0), to.planes[0], strideOf(whole, 0),
                     to.planes[1], strideOf(whole, 1), to.planes[2], strideOf(whole, 2),
                     from.size.width, from.size.height);
  return scaledI420(whole, size);
}

PixelBuffer scaledBGRA(const PixelBuffer& from, PixelSize size) {
  const auto to = like(from, PixelFormat::bgra, size);
  libyuv::ARGBScale(from.planes[0].data, strideOf(from, 0), from.size.width, from.size.height,
                    to.planes[0], strideOf(*to.buffer, 0), size.width, size.height,
                    libyuv::kFilterBox);
  return *to.buffer;
}

// Rows of which several would become one are left out before, so that little is copied.
PixelBuffer scaledRGB(const PixelBuffer& from, PixelSize size) {
  const int every = std::max(1, from.size.height / (2 * size.height));
  PixelBuffer thinned = from;
  thinned.size.height /= every;
  thinned.planes[0].stride *= every;
  const auto to = like(from, PixelFormat::bgra, thinned.size);
  libyuv::RAWToARGB(thinned.planes[0].data, strideOf(thinned, 0), to.planes[0],
                    strideOf(*to.buffer, 0), thinned.size.width, thinned.size.height);
  return scaledBGRA(*to.buffer, size);
}

/// Whether what scales is installed.
bool hasScaling() {
#ifdef VELTRANE_LATE_yuv
  static const bool has = veltrane_late_load_yuv();
  return has;
#else
  return true;
#endif
}

}  // namespace

PixelBuffer scaled(const PixelBuffer& frame, const FramePart& part, PixelSize size) {
  PixelBuffer from = cut(frame, part);
  if (size == part.size || !hasScaling()) return from;
  switch (frame.format) {
    case PixelFormat::nv12:
      return scaledNV12(from, size);
    case PixelFormat::i420:
      return scaledI420(from, size);
    case PixelFormat::yuy2:
      return scaledYUY2(from, size);
    case PixelFormat::rgb:
      return scaledRGB(from, size);
    case PixelFormat::bgra:
      return scaledBGRA(from, size);
  }
  return from;
}

}  // namespace veltrane::qtquick
