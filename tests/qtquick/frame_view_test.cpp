#include "platform/qtquick/frame_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "veltrane/face/face_geometry.h"

namespace veltrane::qtquick::test {
namespace {

struct Rgb {
  double red, green, blue;
};

/// Redder to the right, greener to the bottom, of the upright picture.
Rgb colorAt(double across, double down) {
  return {40 + 170 * across, 40 + 170 * down, 120};
}

std::uint8_t byte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

struct Sample {
  double luma, u, v;
};

Sample sampleOf(const Rgb& color) {
  const double luma = 0.299 * color.red + 0.587 * color.green + 0.114 * color.blue;
  return {luma, 128 + (color.blue - luma) / 1.772, 128 + (color.red - luma) / 1.402};
}

/// Where a place in memory lies in the upright picture; both from 0 to 1.
QPointF upright(Turn turn, double across, double down) {
  switch (turn) {
    case Turn::none:
      return {across, down};
    case Turn::quarter:
      return {1 - down, across};
    case Turn::half:
      return {1 - across, 1 - down};
    case Turn::threeQuarters:
      return {down, 1 - across};
  }
  return {};
}

void put(std::uint8_t* const* planes, const PixelBuffer& frame, int x, int y, const Rgb& color) {
  const auto at = [&](std::size_t plane, std::ptrdiff_t row, std::ptrdiff_t column) {
    return planes[plane] + row * frame.planes[plane].stride + column;
  };
  const Sample sample = sampleOf(color);
  switch (frame.format) {
    case PixelFormat::nv12:
      *at(0, y, x) = byte(sample.luma);
      at(1, y / 2, x & ~1)[0] = byte(sample.u);
      at(1, y / 2, x & ~1)[1] = byte(sample.v);
      break;
    case PixelFormat::i420:
      *at(0, y, x) = byte(sample.luma);
      *at(1, y / 2, x / 2) = byte(sample.u);
      *at(2, y / 2, x / 2) = byte(sample.v);
      break;
    case PixelFormat::yuy2:
      *at(0, y, 2 * x) = byte(sample.luma);
      at(0, y, 4 * (x / 2))[1] = byte(sample.u);
      at(0, y, 4 * (x / 2))[3] = byte(sample.v);
      break;
    case PixelFormat::rgb:
      at(0, y, 3 * x)[0] = byte(color.red);
      at(0, y, 3 * x)[1] = byte(color.green);
      at(0, y, 3 * x)[2] = byte(color.blue);
      break;
    case PixelFormat::bgra:
      at(0, y, 4 * x)[0] = byte(color.blue);
      at(0, y, 4 * x)[1] = byte(color.green);
      at(0, y, 4 * x)[2] = byte(color.red);
      break;
  }
}

PixelBuffer frameOf(PixelFormat format, PixelSize size, Turn turn) {
  const auto made = PixelBuffer::allocate(format, size, 3);
  made.buffer->turn = turn;
  made.buffer->range = ColorRange::full;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const QPointF place = upright(turn, (x + 0.5) / size.width, (y + 0.5) / size.height);
      put(made.planes, *made.buffer, x, y, colorAt(place.x(), place.y()));
    }
  }
  return *made.buffer;
}

/// The largest difference of a colour, over the whole view, to where the screen says that this part
/// of the picture is.
double worstError(const PixelBuffer& frame, const FrameViewOptions& options) {
  const FrameView seen = frameViewOf(frame, options);
  if (!seen.picture) return 255;
  const auto [width, height] = frame.uprightSize();
  const auto fit = face::overlayTransform(
      {width, height}, {options.view.width(), options.view.height()}, options.isMirrored);
  double worst = 0;
  for (double y = 2; y < options.view.height(); y += 7) {
    for (double x = 2; x < options.view.width(); x += 7) {
      const Rgb wanted = colorAt((x - fit.tx) / fit.a / width, 1 - (y - fit.ty) / fit.d / height);
      const auto column =
          static_cast<int>((x - seen.target.x()) / seen.target.width() * seen.picture->size.width);
      const auto row = static_cast<int>((y - seen.target.y()) / seen.target.height() *
                                        seen.picture->size.height);
      const std::uint8_t* pixel = seen.picture->pixels.data() +
                                  4 * (std::ptrdiff_t{row} * seen.picture->size.width + column);
      worst = std::max({worst, std::abs(pixel[0] - wanted.red), std::abs(pixel[1] - wanted.green),
                        std::abs(pixel[2] - wanted.blue)});
    }
  }
  return worst;
}

TEST(FrameView, showsEveryFormatAndTurnWhereTheOutlinesAre) {
  for (const auto format : {PixelFormat::nv12, PixelFormat::i420, PixelFormat::yuy2,
                            PixelFormat::rgb, PixelFormat::bgra}) {
    for (const auto turn : {Turn::none, Turn::quarter, Turn::half, Turn::threeQuarters}) {
      const PixelBuffer frame = frameOf(format, {321, 183}, turn);
      for (const bool isMirrored : {true, false}) {
        for (const QSizeF view : {QSizeF(90, 200), QSizeF(240, 90)}) {
          EXPECT_LT(worstError(frame, {.view = view, .isMirrored = isMirrored}), 7)
              << "format " << static_cast<int>(format) << " turn " << static_cast<int>(turn)
              << (isMirrored ? " mirrored " : " ") << view.width();
        }
      }
    }
  }
}

TEST(FrameView, smallFramesAreEnlargedOnlyWhereTheyHaveToBe) {
  const PixelBuffer frame = frameOf(PixelFormat::nv12, {64, 48}, Turn::none);
  const FrameViewOptions options{.view = {390, 844}, .density = 2};
  EXPECT_LT(worstError(frame, options), 12);
  EXPECT_NEAR(frameViewOf(frame, options).picture->size.height, 1688, 40);
  auto kept = options;
  kept.enlarges = false;
  EXPECT_EQ(frameViewOf(frame, kept).picture->size.height, 48);
  EXPECT_LT(worstError(frame, kept), 12);
}

TEST(FrameView, hasThePixelsOfTheScreenWhateverTheFrameHas) {
  const auto made = PixelBuffer::allocate(PixelFormat::nv12, {7680, 4320});
  const auto seen = frameViewOf(*made.buffer, {.view = {390, 844}, .density = 1});
  EXPECT_NEAR(seen.picture->size.width, 390, 3);
  EXPECT_NEAR(seen.picture->size.height, 844, 3);
  EXPECT_TRUE(seen.target.adjusted(-0.01, -0.01, 0.01, 0.01).contains(QRectF(0, 0, 390, 844)));
}

TEST(FrameView, tellsNothingOfFramesThatAreNotSound) {
  EXPECT_EQ(frameViewOf({}, {.view = {390, 844}}).picture, nullptr);
  const PixelBuffer frame = frameOf(PixelFormat::rgb, {8, 8}, Turn::none);
  EXPECT_EQ(frameViewOf(frame, {.view = {0, 844}}).picture, nullptr);
  PixelBuffer broken = frame;
  broken.planes[0].stride = 5;
  EXPECT_EQ(frameViewOf(broken, {.view = {390, 844}}).picture, nullptr);
  for (const PixelSize tiny : {PixelSize{1, 1}, PixelSize{1, 9}, PixelSize{9, 1}}) {
    for (const auto format : {PixelFormat::nv12, PixelFormat::yuy2, PixelFormat::rgb}) {
      EXPECT_NE(frameViewOf(frameOf(format, tiny, Turn::quarter), {.view = {30, 40}}).picture,
                nullptr);
    }
  }
}

TEST(FrameView, bottomUpFramesAreShownUpright) {
  PixelBuffer frame = frameOf(PixelFormat::bgra, {120, 90}, Turn::none);
  PixelBuffer flipped = frame;
  flipped.planes[0].data += 89 * frame.planes[0].stride;
  flipped.planes[0].stride = -frame.planes[0].stride;
  flipped.turn = Turn::half;  // upside down and turned by half: mirrored
  const auto one = frameViewOf(flipped, {.view = {50, 50}, .isMirrored = true});
  const auto other = frameViewOf(frame, {.view = {50, 50}, .isMirrored = false});
  EXPECT_EQ(one.picture->pixels, other.picture->pixels);
}

}  // namespace
}  // namespace veltrane::qtquick::test
