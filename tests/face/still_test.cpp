#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "platform/pictures/codec.h"
#include "tests/face/fakes.h"
#include "tests/support/memory_search.h"
#include "veltrane/base/base64.h"
#include "veltrane/face/face_still.h"
#include "veltrane/face/frame_picture.h"

namespace veltrane::testing {
namespace {

struct RGB {
  double red, green, blue;
};

/// The conversion as the recommendations write it down, in floating point.
RGB reference(ColorMatrix matrix, ColorRange range, double y, double u, double v) {
  const double kr = matrix == ColorMatrix::bt709 ? 0.2126 : 0.299;
  const double kb = matrix == ColorMatrix::bt709 ? 0.0722 : 0.114;
  const bool isFull = range == ColorRange::full;
  const double luma = isFull ? y / 255 : (y - 16) / 219;
  const double cb = (u - 128) / (isFull ? 255 : 224);
  const double cr = (v - 128) / (isFull ? 255 : 224);
  const double red = luma + 2 * (1 - kr) * cr;
  const double blue = luma + 2 * (1 - kb) * cb;
  const double green = (luma - kr * red - kb * blue) / (1 - kr - kb);
  const auto scaled = [](double value) { return std::clamp(value * 255, 0.0, 255.0); };
  return {scaled(red), scaled(green), scaled(blue)};
}

struct YUV {
  std::uint8_t y, u, v;
};

/// What the pixel at a place is made of; pixels that share a colour sample get the same one.
YUV sampleAt(int x, int y, bool sharesRows) {
  const int block = x / 2 * 37 + (sharesRows ? y / 2 : y) * 91;
  return {static_cast<std::uint8_t>(x * 29 + y * 53), static_cast<std::uint8_t>(block),
          static_cast<std::uint8_t>(block * 7 + 40)};
}

PixelBuffer::Writable filled(PixelFormat format, PixelSize size, std::size_t extra) {
  auto made = PixelBuffer::allocate(format, size, extra);
  const auto at = [&](std::size_t plane, int x, int y) -> std::uint8_t& {
    return made.planes[plane][y * made.buffer->planes[plane].stride + x];
  };
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const YUV sample = sampleAt(x, y, format != PixelFormat::yuy2);
      if (format == PixelFormat::yuy2) {
        at(0, 2 * x, y) = sample.y;
        at(0, x / 2 * 4 + 1, y) = sample.u;
        at(0, x / 2 * 4 + 3, y) = sample.v;
        continue;
      }
      at(0, x, y) = sample.y;
      const bool isPaired = format == PixelFormat::nv12;
      at(1, isPaired ? x / 2 * 2 : x / 2, y / 2) = sample.u;
      at(isPaired ? 1 : 2, isPaired ? x / 2 * 2 + 1 : x / 2, y / 2) = sample.v;
    }
  }
  return made;
}

const std::uint8_t* pixel(const Picture& picture, int x, int y) {
  return picture.pixels.data() + (static_cast<std::ptrdiff_t>(y) * picture.size.width + x) * 4;
}

using Kind = std::tuple<PixelFormat, ColorMatrix, ColorRange>;
class LumaAndChroma : public ::testing::TestWithParam<Kind> {};

TEST_P(LumaAndChroma, becomeColoursRightToTheRounding) {
  const auto [format, matrix, range] = GetParam();
  for (const PixelSize size : {PixelSize{1, 1}, PixelSize{37, 15}, PixelSize{99, 48}}) {
    for (const std::size_t extra : {std::size_t{0}, std::size_t{13}}) {
      const auto frame = filled(format, size, extra).buffer;
      frame->matrix = matrix;
      frame->range = range;
      const auto picture = face::pictureFrom(*frame);
      ASSERT_TRUE(picture);
      ASSERT_EQ(picture->size, size);
      EXPECT_TRUE(picture->isOpaque);
      for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
          const YUV sample = sampleAt(x, y, format != PixelFormat::yuy2);
          const RGB exact = reference(matrix, range, sample.y, sample.u, sample.v);
          const std::uint8_t* const got = pixel(*picture, x, y);
          ASSERT_NEAR(got[0], exact.red, 0.53) << x << ", " << y;
          ASSERT_NEAR(got[1], exact.green, 0.53) << x << ", " << y;
          ASSERT_NEAR(got[2], exact.blue, 0.53) << x << ", " << y;
          ASSERT_EQ(got[3], 255);
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Frames, LumaAndChroma,
    ::testing::Combine(::testing::Values(PixelFormat::nv12, PixelFormat::i420, PixelFormat::yuy2),
                       ::testing::Values(ColorMatrix::bt601, ColorMatrix::bt709),
                       ::testing::Values(ColorRange::video, ColorRange::full)));

/// Three pixels wide, two high, numbered from the upper left in their red.
PixelBuffer::Writable numbered(PixelFormat format) {
  auto made = PixelBuffer::allocate(format, {3, 2}, 5);
  const int step = format == PixelFormat::rgb ? 3 : 4;
  for (int i = 0; i < 6; ++i) {
    std::uint8_t* const at = made.planes[0] + i / 3 * made.buffer->planes[0].stride + i % 3 * step;
    at[format == PixelFormat::rgb ? 0 : 2] = static_cast<std::uint8_t>(i);
    at[1] = 100;
    at[format == PixelFormat::rgb ? 2 : 0] = 200;
  }
  return made;
}

std::string reds(const Picture& picture) {
  std::string text;
  for (int y = 0; y < picture.size.height; ++y) {
    for (int x = 0; x < picture.size.width; ++x) {
      const auto* const at = pixel(picture, x, y);
      EXPECT_EQ(at[1], 100);
      EXPECT_EQ(at[2], 200);
      EXPECT_EQ(at[3], 255);
      text += std::to_string(at[0]);
    }
    text += ' ';
  }
  return text;
}

TEST(FramePicture, coloursAreTakenAsTheyAreAndTurnedUpright) {
  for (const PixelFormat format : {PixelFormat::rgb, PixelFormat::bgra}) {
    const auto frame = numbered(format).buffer;
    EXPECT_EQ(reds(*face::pictureFrom(*frame)), "012 345 ");
    frame->turn = Turn::quarter;
    EXPECT_EQ(frame->uprightSize(), (PixelSize{2, 3}));
    EXPECT_EQ(reds(*face::pictureFrom(*frame)), "30 41 52 ");
    frame->turn = Turn::half;
    EXPECT_EQ(reds(*face::pictureFrom(*frame)), "543 210 ");
    frame->turn = Turn::threeQuarters;
    EXPECT_EQ(reds(*face::pictureFrom(*frame)), "25 14 03 ");
  }
}

TEST(FramePicture, rowsMayLieFromBottomToTop) {
  const auto frame = numbered(PixelFormat::rgb).buffer;
  frame->planes[0].data += frame->planes[0].stride;
  frame->planes[0].stride = -frame->planes[0].stride;
  EXPECT_EQ(reds(*face::pictureFrom(*frame)), "345 012 ");
}

TEST(FramePicture, aFrameThatIsNotSoundMakesNone) {
  EXPECT_EQ(face::pictureFrom(PixelBuffer{}), nullptr);
  for (const PixelFormat format : {PixelFormat::nv12, PixelFormat::i420, PixelFormat::yuy2,
                                   PixelFormat::rgb, PixelFormat::bgra}) {
    const auto whole = makeFrame({37, 15}, format);
    ASSERT_TRUE(whole->isSound());
    for (std::size_t plane = 0; plane < whole->planeCount(); ++plane) {
      PixelBuffer frame = *whole;
      frame.planes[plane].stride -= 1;
      EXPECT_FALSE(frame.isSound());
      frame = *whole;
      frame.planes[plane].data = nullptr;
      EXPECT_FALSE(frame.isSound());
    }
    PixelBuffer huge = *whole;
    huge.size = {1 << 16, 1 << 16};
    for (auto& plane : huge.planes) plane.stride = 1 << 20;
    EXPECT_FALSE(huge.isSound());
    huge.size = {37, 0};
    EXPECT_FALSE(huge.isSound());
  }
}

TEST(Still, theLongerSideBecomesOneThousand) {
  EXPECT_EQ(face::stillSize({1920, 1080}), (PixelSize{1000, 562}));
  EXPECT_EQ(face::stillSize({1080, 1920}), (PixelSize{562, 1000}));
  EXPECT_EQ(face::stillSize({720, 960}), (PixelSize{720, 960}));
  EXPECT_EQ(face::stillSize({1000, 1000}), (PixelSize{1000, 1000}));
  EXPECT_EQ(face::stillSize({1001, 1001}), (PixelSize{1000, 1000}));
  EXPECT_EQ(face::stillSize({7680, 4320}), (PixelSize{1000, 562}));
  EXPECT_EQ(face::stillSize({20000, 3}), (PixelSize{1000, 1}));
}

TEST(Still, itIsUnscaledWhenScalingFails) {
  SizeCodec codec;
  const auto frame = makeFrame({1200, 900});
  const auto still = face::takeStill(*frame, codec);
  ASSERT_TRUE(still);
  EXPECT_EQ(still->png, "1000x750");
  EXPECT_EQ(face::takeStill(*makeFrame({64, 48}), codec)->png, "64x48");
  codec.failsToResize = true;
  EXPECT_EQ(face::takeStill(*frame, codec)->png, "1200x900");
  codec.failsToEncode = true;
  EXPECT_EQ(face::takeStill(*frame, codec), nullptr);
  EXPECT_EQ(face::takeStill(PixelBuffer{}, codec), nullptr);
}

TEST(Still, aRealPictureComesBackUpright) {
  const pictures::Codec codec;
  const auto made = PixelBuffer::allocate(PixelFormat::bgra, {1600, 1200});
  // Its first rows are red, the others blue.
  for (int i = 0; i < 1600 * 1200; ++i) made.planes[0][4 * i + (i < 1600 * 600 ? 2 : 0)] = 255;
  made.buffer->turn = Turn::quarter;
  const auto still = face::takeStill(*made.buffer, codec);
  ASSERT_TRUE(still);
  const auto picture = codec.decode(still->png);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->size, (PixelSize{750, 1000}));
  EXPECT_EQ(pixel(*picture, 700, 500)[0], 255) << "what was above lies to the right";
  EXPECT_EQ(pixel(*picture, 50, 500)[2], 255);
}

/// Bytes as they are searched.
std::string turned(std::string bytes) {
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

/// Notes some of each picture's pixels, as they are searched, before it encodes them.
class NotingCodec final : public PictureCodec {
 public:
  PicturePtr decode(std::string_view bytes) const override { return codec_.decode(bytes); }
  PicturePtr resize(const Picture& picture, PixelSize size,
                    ResizeFramework framework) const override {
    return codec_.resize(picture, size, framework);
  }
  std::optional<std::string> encodePNG(const Picture& picture) const override {
    const auto middle = picture.pixels.rbegin() + std::ssize(picture.pixels) / 2;
    noted.emplace_back(middle, middle + 8 * Picture::kBytesAPixel);
    EXPECT_GT(countInMemory(noted.back()), 0) << "the search does search";
    return codec_.encodePNG(picture);
  }

  mutable std::vector<std::string> noted;

 private:
  pictures::Codec codec_;
};

TEST(Still, leavesNothingOfAFaceInMemory) {
  std::string inFrame;  // eight pixels that nothing else has
  for (int i = 0; i < 24; ++i) inFrame += static_cast<char>((i % 3 * 54 + 37) * (i / 3 + 3) + 11);
  const NotingCodec codec;
  std::vector<std::string> inFiles;
  // The one is scaled, the other is not, and so its rows reach the encoder as they are.
  for (const PixelSize size : {PixelSize{1600, 8}, PixelSize{800, 8}}) {
    const auto made = PixelBuffer::allocate(PixelFormat::rgb, size);
    for (int i = 0; i < size.width * size.height * 3; ++i) {
      made.planes[0][i] = static_cast<std::uint8_t>(inFrame[inFrame.size() - 1 - i % 24]);
    }
    EXPECT_GT(countInMemory(inFrame), 0);
    const auto still = face::takeStill(*made.buffer, codec);
    ASSERT_TRUE(still);
    inFiles.push_back(turned(still->png.substr(still->png.size() / 2, 24)));
    EXPECT_GT(countInMemory(inFiles.back()), 0);
  }
  EXPECT_EQ(countInMemory(inFrame), 0);
  ASSERT_EQ(codec.noted.size(), 2u);
  for (const auto* const all : {&codec.noted, &inFiles}) {
    for (const auto& each : *all) EXPECT_EQ(countInMemory(each), 0);
  }
}

}  // namespace
}  // namespace veltrane::testing
