#include "platform/opencv/frame_sampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "veltrane/base/wipe.h"
#include "veltrane/face/frame_rows.h"

namespace veltrane::opencv {
namespace {

/// Rows that are looked at for one row of the sample, at most. All columns are.
constexpr int kMostRows = 2;
constexpr int kColors = 4;
/// A square so many times larger than the frame shows nothing of it.
constexpr double kMostAround = 64;

/// From the upright picture to the pixels as they lie.
AffineTransform fromUpright(const PixelBuffer& frame) {
  const double width = frame.size.width;
  const double height = frame.size.height;
  switch (frame.turn) {
    case Turn::none:
      return {};
    case Turn::quarter:
      return {.a = 0, .b = -1, .c = 1, .d = 0, .tx = 0, .ty = height};
    case Turn::half:
      return {.a = -1, .b = 0, .c = 0, .d = -1, .tx = width, .ty = height};
    case Turn::threeQuarters:
      return {.a = 0, .b = 1, .c = -1, .d = 0, .tx = width, .ty = 0};
  }
  return {};
}

/// Bytes of pixels, one after another, added to sums.
void add(const std::vector<std::uint32_t>& row, std::vector<std::uint16_t>& sums) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(row.data());
  for (std::size_t i = 0; i < sums.size(); ++i) {
    sums[i] = static_cast<std::uint16_t>(sums[i] + bytes[i]);
  }
}

// Four colours at once.
using Sums [[gnu::vector_size(kColors * sizeof(std::uint16_t))]] = std::uint16_t;
using Totals [[gnu::vector_size(kColors * sizeof(std::uint32_t))]] = std::uint32_t;
using Bytes [[gnu::vector_size(kColors)]] = std::uint8_t;

/// Means of `columns` pixels next to each other in the sums of `rows` rows.
void average(const std::vector<std::uint16_t>& sums, int columns, int rows, int count,
             std::uint32_t* out) {
  const auto weight = static_cast<std::uint32_t>((1 << 16) / (columns * rows));
  const std::uint16_t* from = sums.data();
  for (int x = 0; x < count; ++x) {
    Totals total{};
    for (int i = 0; i < columns; ++i, from += kColors) {
      Sums pixel;
      std::memcpy(&pixel, from, sizeof pixel);
      total += __builtin_convertvector(pixel, Totals);
    }
    const Bytes mean = __builtin_convertvector((total * weight + (1U << 15)) >> 16, Bytes);
    std::memcpy(out + x, &mean, sizeof mean);
  }
}

/// All that has ever been in it.
template <typename T>
void wipeAll(std::vector<T>& values) {
  values.resize(values.capacity());
  wipe(values.data(), values.size() * sizeof(T));
}

/// Growing would leave a copy behind that nothing wipes.
template <typename T>
void make(std::vector<T>& values, std::size_t count) {
  if (count > values.capacity()) {
    wipeAll(values);
    values.clear();
  }
  values.resize(count);
}

}  // namespace

AffineTransform transformOf(const Square& square, int input) {
  const double scale = square.side / input;
  const double along = scale * std::cos(square.angle);
  const double across = scale * std::sin(square.angle);
  const double half = input / 2.0;
  return {.a = along,
          .b = across,
          .c = -across,
          .d = along,
          .tx = square.middle.x - half * (along - across),
          .ty = square.middle.y - half * (along + across)};
}

AffineTransform chained(const AffineTransform& inner, const AffineTransform& outer) {
  const Point origin = outer.apply(Point{inner.tx, inner.ty});
  return {.a = outer.a * inner.a + outer.c * inner.b,
          .b = outer.b * inner.a + outer.d * inner.b,
          .c = outer.a * inner.c + outer.c * inner.d,
          .d = outer.b * inner.c + outer.d * inner.d,
          .tx = origin.x,
          .ty = origin.y};
}

struct FrameSampler::Region {
  int left, top, width, height;
  /// This many columns and rows become one.
  int shrink;
};

FrameSampler::~FrameSampler() {
  wipeAll(pixels_);
  wipeAll(row_);
  wipeAll(sums_);
}

std::optional<FrameSampler::Sample> FrameSampler::sample(const PixelBuffer& frame,
                                                         const Square& square, int input) {
  const AffineTransform map = chained(transformOf(square, input), fromUpright(frame));
  const Rect wanted = map.apply(Rect{0, 0, double(input), double(input)});
  const auto within = [](double value, int end) {
    return static_cast<int>(std::clamp(value, 0.0, double(end)));
  };
  const double most = kMostAround * std::max(frame.size.width, frame.size.height);
  if (!(square.side > 0 && square.side < most) || !std::isfinite(wanted.x + wanted.y)) {
    return std::nullopt;
  }
  // Colours are shared by two columns; one pixel more on each side is what lies between two.
  const int left = within(std::floor(wanted.x) - 1, frame.size.width) / 2 * 2;
  const int top = within(std::floor(wanted.y) - 1, frame.size.height);
  const int right = within(std::ceil(wanted.x + wanted.width) + 1, frame.size.width);
  const int bottom = within(std::ceil(wanted.y + wanted.height) + 1, frame.size.height);
  if (right <= left || bottom <= top) return std::nullopt;
  const int by =
      std::clamp(static_cast<int>(square.side / input), 1, std::min(right - left, bottom - top));
  const PixelSize size{(right - left) / by, (bottom - top) / by};
  shrink(frame, {left, top, size.width * by, size.height * by, by}, size);
  const double scale = 1.0 / by;
  return Sample{
      .pixels = reinterpret_cast<const std::uint8_t*>(pixels_.data()),
      .size = size,
      .map = chained(
          map, {.a = scale, .b = 0, .c = 0, .d = scale, .tx = -left * scale, .ty = -top * scale})};
}

void FrameSampler::shrink(const PixelBuffer& frame, const Region& region, PixelSize size) {
  const auto width = static_cast<std::size_t>(size.width);
  make(pixels_, width * static_cast<std::size_t>(size.height));
  face::FrameRows rows(frame, region.left, region.width);
  make(row_, static_cast<std::size_t>(region.width));
  make(sums_, row_.size() * kColors);
  const int looks = std::min(region.shrink, kMostRows);
  for (int y = 0; y < size.height; ++y) {
    std::uint32_t* const out = pixels_.data() + width * static_cast<std::size_t>(y);
    const int first = region.top + y * region.shrink;
    if (region.shrink == 1) {
      rows.read(first, out);
      continue;
    }
    std::fill(sums_.begin(), sums_.end(), std::uint16_t{0});
    for (int look = 0; look < looks; ++look) {
      rows.read(first + (2 * look + 1) * region.shrink / (2 * looks), row_.data());
      add(row_, sums_);
    }
    average(sums_, region.shrink, looks, size.width, out);
  }
}

}  // namespace veltrane::opencv
