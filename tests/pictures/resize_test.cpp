#include <gtest/gtest.h>

#include "platform/pictures/codec.h"
#include "tests/pictures/samples.h"

namespace veltrane::pictures::testing {
namespace {

class Resize : public ::testing::TestWithParam<ResizeFramework> {
 protected:
  static PicturePtr resized(const Picture& picture, PixelSize size) {
    return Codec().resize(picture, size, GetParam());
  }
};

Picture flat(PixelSize size, std::vector<std::uint8_t> color) {
  Picture picture{.size = size, .isOpaque = color[3] == 255};
  for (int i = 0; i < size.width * size.height; ++i) {
    picture.pixels.insert(picture.pixels.end(), color.begin(), color.end());
  }
  return picture;
}

TEST_P(Resize, GivesExactlyTheSizeAndKeepsAFlatColour) {
  const PixelSize sizes[] = {{1, 1}, {1, 64}, {2, 1}, {31, 17}, {64, 48}, {200, 3}, {333, 500}};
  for (const auto& color : {std::vector<std::uint8_t>{200, 90, 10, 255}, {60, 30, 0, 99}}) {
    for (const PixelSize from : {PixelSize{1, 1}, {64, 48}, {3, 400}, {1920, 2}}) {
      for (const PixelSize to : sizes) {
        const PicturePtr result = resized(flat(from, color), to);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->size, to);
        EXPECT_EQ(result->isOpaque, color[3] == 255);
        ASSERT_EQ(result->pixels.size(), std::size_t(to.width) * to.height * 4);
        const auto alpha = [&](std::size_t i) { return result->pixels[i + 3]; };
        int worst = 0;
        for (std::size_t i = 0; i < result->pixels.size(); ++i) {
          worst = std::max(worst, std::abs(result->pixels[i] - color[i % 4]));
          if (i % 4 == 0 && color[3] == 255) {
            ASSERT_EQ(alpha(i), 255);
          }
        }
        EXPECT_LE(worst, 1) << from.width << 'x' << from.height << " to " << to.width << 'x'
                            << to.height;
      }
    }
  }
}

TEST_P(Resize, KeepsWhatIsWhere) {
  const Picture picture = painted(kFields, 48);
  for (const int field : {7, 16, 24, 30, 47, 48, 100}) {
    const PicturePtr result = resized(picture, {2 * field, 3 * field});
    EXPECT_EQ(fieldsOf(result.get(), field), kFields) << field;
  }
  const PicturePtr narrow = resized(picture, {2 * 5, 3 * 5});
  const PicturePtr wide = resized(*narrow, {960, 48});
  EXPECT_EQ(wide->size, (PixelSize{960, 48}));
}

TEST_P(Resize, LooksAtEveryPixelWhenItShrinks) {
  Picture lines{.size = {512, 512}, .isOpaque = true};
  for (int i = 0; i < 512 * 512; ++i) {
    const std::uint8_t shade = (i / 512 + i) % 2 ? 255 : 0;
    lines.pixels.insert(lines.pixels.end(), {shade, shade, shade, 255});
  }
  for (const int side : {200, 37, 5}) {
    const PicturePtr result = resized(lines, {side, side});
    ASSERT_TRUE(result);
    for (std::size_t i = 0; i < result->pixels.size(); i += 4) {
      ASSERT_NEAR(result->pixels[i], 127, 30) << side << " at " << i / 4;
    }
  }
}

/// Red beside nothing: in between lies faint red, not dark red, and no other colour.
TEST_P(Resize, LeavesNoFringesAroundTransparency) {
  const Picture picture = painted("R./.R", 40);
  for (const PixelSize size : {PixelSize{33, 47}, {200, 160}, {9, 9}}) {
    const PicturePtr result = resized(picture, size);
    ASSERT_TRUE(result);
    bool hasEdge = false;
    for (std::size_t i = 0; i < result->pixels.size(); i += 4) {
      const int alpha = result->pixels[i + 3];
      hasEdge |= alpha > 20 && alpha < 235;
      ASSERT_NEAR(result->pixels[i], alpha, 1);
      ASSERT_LE(result->pixels[i], alpha);
      ASSERT_EQ(result->pixels[i + 1] + result->pixels[i + 2], 0);
    }
    EXPECT_TRUE(hasEdge);
    EXPECT_FALSE(result->isOpaque);
  }
}

TEST_P(Resize, RefusesSizesThatCannotBe) {
  const Picture picture = painted("RG");
  const PixelSize sizes[] = {{0, 1}, {1, 0}, {-4, -4}, {8193, 8192}, {32'001, 1}, {1, 32'001}};
  for (const PixelSize size : sizes) EXPECT_FALSE(resized(picture, size)) << size.width;
  EXPECT_FALSE(resized({}, {4, 4}));
  EXPECT_FALSE(resized({.size = {9, 9}, .pixels = {1, 2, 3, 4}}, {4, 4}));
  EXPECT_FALSE(resized(flat({32'001, 1}, {1, 2, 3, 255}), {4, 4}));
}

TEST_P(Resize, SurvivesExtremeProportions) {
  const Picture wide = flat({32'000, 2}, {10, 20, 30, 255});
  const Picture tall = flat({2, 32'000}, {10, 20, 30, 255});
  for (const PixelSize size : {PixelSize{1, 1}, {1, 2000}, {2000, 1}, {32'000, 1}, {1, 32'000}}) {
    for (const Picture& picture : {wide, tall}) {
      const PicturePtr result = resized(picture, size);
      ASSERT_TRUE(result) << size.width << 'x' << size.height;
      EXPECT_NEAR(result->pixels.front(), 10, 1);
      EXPECT_NEAR(result->pixels[result->pixels.size() - 2], 30, 1);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Every, Resize,
                         ::testing::Values(ResizeFramework::uikit, ResizeFramework::coreImage,
                                           ResizeFramework::coreGraphics, ResizeFramework::imageIO,
                                           ResizeFramework::accelerate));

TEST(ResizeFramework, OneThatDoesNotExistScalesNothing) {
  EXPECT_FALSE(Codec().resize(painted("R"), {4, 4}, static_cast<ResizeFramework>(77)));
}

}  // namespace
}  // namespace veltrane::pictures::testing
