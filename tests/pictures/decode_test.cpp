#include <gtest/gtest.h>
#include <webp/encode.h>

#include <random>

#include "platform/pictures/codec.h"
#include "tests/pictures/samples.h"

namespace veltrane::pictures::testing {
namespace {

std::string fieldsOf(std::string_view bytes) {
  return testing::fieldsOf(Codec().decode(bytes).get());
}

bool isSound(const Picture& picture) {
  return isBearable(picture.size) &&
         picture.pixels.size() == std::size_t(picture.size.width) * picture.size.height * 4;
}

TEST(Decode, EveryFormatAndVariant) {
  for (const Sample& sample : everySample()) {
    const PicturePtr picture = Codec().decode(sample.bytes);
    EXPECT_EQ(testing::fieldsOf(picture.get()), sample.fields) << sample.name;
    if (!picture) continue;
    const bool hasHoles = sample.fields.find('.') != std::string::npos;
    EXPECT_EQ(picture->isOpaque, !hasHoles) << sample.name;
  }
}

std::string turnedJPEG(const std::string& exif) {
  const std::string marker = std::string("Exif\0\0", 6) + exif;
  const auto size = marker.size() + 2;
  return seed("JPEG").insert(
      2, "\xFF\xE1" + std::string{static_cast<char>(size >> 8), static_cast<char>(size)} + marker);
}

TEST(Decode, TurnsAPictureUprightAsItsMetadataAsks) {
  const char* upright[] = {"RG/BW/KY", "GR/WB/YK", "YK/WB/GR", "KY/BW/RG",
                           "RBK/GWY",  "KBR/YWG",  "YWG/KBR",  "GWY/RBK"};
  std::string webp = seed("WebP-turned");
  for (int i = 1; i <= 8; ++i) {
    webp.replace(webp.size() - exif(i).size(), std::string::npos, exif(i));
    EXPECT_EQ(fieldsOf(turnedJPEG(exif(i, true))), upright[i - 1]) << i;
    EXPECT_EQ(fieldsOf(seed("PNG-rgb").insert(33, pngChunk("eXIf", exif(i)))), upright[i - 1]) << i;
    EXPECT_EQ(fieldsOf(webp), upright[i - 1]) << i;
  }
  const std::string whole = exif(6);
  for (const std::string& odd : {exif(0), exif(9), exif(200), std::string("II*"),
                                 std::string(60'000, 'x'), whole.substr(0, 19)}) {
    EXPECT_EQ(fieldsOf(turnedJPEG(odd)), "RG/BW/KY") << odd.size();
  }
  EXPECT_TRUE(Codec().decode(turnedJPEG(exif(6)))->isOpaque);
}

TEST(Decode, PremultipliesColours) {
  const std::uint8_t straight[] = {200, 100, 50, 128, 255, 255, 255, 0};
  const decltype(Picture::pixels) expected = {100, 50, 25, 128, 0, 0, 0, 0};
  const std::string row = '\0' + std::string(std::begin(straight), std::end(straight));
  const std::string png = seed("PNG-rgba").substr(0, 8) +
                          pngChunk("IHDR", {0, 0, 0, 2, 0, 0, 0, 1, 8, 6, 0, 0, 0}) +
                          pngChunk("IDAT", deflated(row)) + pngChunk("IEND", "");
  EXPECT_EQ(Codec().decode(png)->pixels, expected);
  std::uint8_t* bytes = nullptr;
  const std::size_t size = WebPEncodeLosslessRGBA(straight, 2, 1, 8, &bytes);
  const auto webp = Codec().decode({reinterpret_cast<const char*>(bytes), size});
  WebPFree(bytes);
  ASSERT_TRUE(webp);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(webp->pixels[i], expected[i], 1) << i;
  }
}

TEST(Decode, GivesNothingForAPictureCutShort) {
  for (const Sample& sample : everySample()) {
    const std::string_view whole = sample.bytes;
    for (std::size_t size = 0; size < whole.size(); ++size) {
      const std::string fields = fieldsOf(whole.substr(0, size));
      // A first frame that is whole is a picture, whatever became of those behind it.
      const bool isWhole = fields == sample.fields && sample.name == "GIF-animated";
      ASSERT_TRUE(fields == "none" || isWhole)
          << sample.name << " cut to " << size << " of " << whole.size();
    }
  }
}

TEST(Decode, SurvivesDamageWithoutAWord) {
  std::mt19937 random(1);
  ::testing::internal::CaptureStderr();
  ::testing::internal::CaptureStdout();
  for (const Sample& sample : everySample()) {
    for (int round = 0; round < 60; ++round) {
      std::string bytes = sample.bytes;
      // Sizes stay as they are: a picture that is merely large is not what is tried here.
      for (int i = 0; i < 3; ++i) bytes[32 + random() % (bytes.size() - 32)] ^= char(random());
      const PicturePtr picture = Codec().decode(bytes);
      ASSERT_TRUE(!picture || isSound(*picture)) << sample.name << " round " << round;
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(Decode, RefusesWhatIsNoPicture) {
  std::mt19937 random(2);
  std::string noise(10'000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  std::vector<std::string> texts = {"", "x", "<!DOCTYPE html><html><body>Not found</body></html>",
                                    "BM......", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>"};
  for (const char* start : {"", "\x89PNG\r\n\x1a\n", "\xFF\xD8\xFF", "GIF89a", "GIF87a"}) {
    texts.push_back(start);
    texts.push_back(start + noise);
  }
  texts.push_back(std::string("RIFF\x10\x27\0\0WEBP", 12) + noise);
  for (const std::string& text : texts) EXPECT_FALSE(Codec().decode(text)) << text.substr(0, 20);
}

void put(std::string& bytes, std::size_t at, std::initializer_list<int> values) {
  for (const int value : values) bytes[at++] = static_cast<char>(value);
}

/// Each of these would take gigabytes if its size were believed.
TEST(Decode, RefusesAPictureTooLargeBeforeTakingMemoryForIt) {
  // 60,000 x 60,000.
  std::string png = seed("PNG-rgb");
  const std::string large("\0\0\xEA\x60\0\0\xEA\x60", 8);
  png.replace(8, 25, pngChunk("IHDR", large + png.substr(24, 5)));
  // 65,500 x 65,500.
  std::string jpeg = seed("JPEG");
  put(jpeg, jpeg.find("\xFF\xC0") + 5, {0xFF, 0xDC, 0xFF, 0xDC});
  // 65,535 x 65,535: the canvas, and a frame alone.
  std::string gif = seed("GIF");
  std::string frame = gif;
  put(gif, 6, {0xFF, 0xFF, 0xFF, 0xFF});
  put(frame, frame.find(',', 13 + 48) + 5, {0xFF, 0xFF, 0xFF, 0xFF});
  // 16,383 x 16,383, whose data may be as short as this.
  std::string webp = seed("WebP");
  put(webp, 21, {0xFF, 0xFF, 0xFF, 0x0F});
  for (const auto& bytes : {png, jpeg, gif, frame, webp}) EXPECT_FALSE(Codec().decode(bytes));
}

/// A frame may be a small part of its canvas, but hardly a speck of it.
TEST(Decode, HoldsACanvasAgainstTheSizeOfItsFile) {
  std::string gif = seed("GIF");
  put(gif, 6, {0x00, 0x08, 0x00, 0x08});  // 2,048 x 2,048
  const PicturePtr large = Codec().decode(gif);
  ASSERT_TRUE(large);
  EXPECT_EQ(large->size, (PixelSize{2048, 2048}));
  EXPECT_FALSE(large->isOpaque);
  put(gif, 6, {0x00, 0x20, 0x00, 0x20});  // 8,192 x 8,192, which takes 256 MiB
  EXPECT_FALSE(Codec().decode(gif));
}

TEST(Decode, DoesNotUnpackTextNobodyReads) {
  const std::string text = std::string("Comment\0\0", 9) + deflated(std::string(64 << 20, 'a'));
  const std::string bytes = seed("PNG-rgb").insert(33, pngChunk("zTXt", text));
  ASSERT_LT(bytes.size(), 100'000U);
  EXPECT_EQ(fieldsOf(bytes), kFields);
}

TEST(Decode, GivesUpOnAPictureOfEndlessScans) {
  const std::string file = seed("JPEG-progressive");
  const std::size_t scan = file.find("\xFF\xDA");
  const std::size_t next = std::min(file.find("\xFF\xC4", scan), file.find("\xFF\xDA", scan + 2));
  const auto repeated = [&](int times) {
    std::string bytes = file.substr(0, next);
    for (int i = 0; i < times; ++i) bytes += file.substr(scan, next - scan);
    return bytes + file.substr(next);
  };
  EXPECT_EQ(fieldsOf(repeated(20)), kFields);
  EXPECT_FALSE(Codec().decode(repeated(1000)));
}

}  // namespace
}  // namespace veltrane::pictures::testing
