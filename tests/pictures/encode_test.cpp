#include <gtest/gtest.h>

#include <random>

#include "platform/pictures/codec.h"
#include "tests/pictures/samples.h"

namespace veltrane::pictures::testing {
namespace {

Picture noise(PixelSize size, bool isOpaque) {
  std::mt19937 random(3);
  Picture picture{.size = size, .isOpaque = isOpaque};
  for (int i = 0; i < size.width * size.height; ++i) {
    const unsigned alpha = isOpaque ? 255 : random() % 255;
    for (int c = 0; c < 3; ++c) picture.pixels.push_back(std::uint8_t(random() % (alpha + 1)));
    picture.pixels.push_back(static_cast<std::uint8_t>(alpha));
  }
  return picture;
}

/// Names of a PNG's chunks, in order.
std::string chunksOf(const std::string& file) {
  std::string names;
  for (std::size_t at = 8; at + 8 <= file.size();) {
    std::size_t size = 0;
    for (std::size_t i = at; i < at + 4; ++i) size = size << 8 | std::uint8_t(file[i]);
    names += file.substr(at + 4, 4) + ' ';
    at += 12 + size;
  }
  return names;
}

TEST(EncodePNG, GivesBackEveryPixel) {
  for (const bool isOpaque : {true, false}) {
    for (const PixelSize size : {PixelSize{1, 1}, {1, 300}, {300, 1}, {67, 43}, {640, 481}}) {
      const Picture picture = noise(size, isOpaque);
      const auto file = Codec().encodePNG(picture);
      ASSERT_TRUE(file);
      const PicturePtr again = Codec().decode(*file);
      ASSERT_TRUE(again) << size.width << 'x' << size.height;
      EXPECT_EQ(again->size, size);
      EXPECT_EQ(again->isOpaque, isOpaque);
      EXPECT_TRUE(again->pixels == picture.pixels) << size.width << 'x' << size.height;
    }
  }
}

TEST(EncodePNG, WritesPixelsAndNothingElse) {
  constexpr std::size_t kColorType = 25;
  const auto opaque = Codec().encodePNG(painted(kFields));
  const auto holed = Codec().encodePNG(painted("R./.B"));
  ASSERT_TRUE(opaque && holed);
  EXPECT_EQ(chunksOf(*opaque), "IHDR IDAT IEND ");
  EXPECT_EQ(chunksOf(*holed), "IHDR IDAT IEND ");
  EXPECT_EQ((*opaque)[kColorType], 2);
  EXPECT_EQ((*holed)[kColorType], 6);
}

TEST(EncodePNG, RefusesAPictureThatIsNone) {
  EXPECT_FALSE(Codec().encodePNG({}));
  EXPECT_FALSE(Codec().encodePNG({.size = {2, 2}, .pixels = {0, 0, 0, 0}}));
  EXPECT_FALSE(Codec().encodePNG({.size = {-1, -1}, .pixels = {0, 0, 0, 0}}));
}

}  // namespace
}  // namespace veltrane::pictures::testing
