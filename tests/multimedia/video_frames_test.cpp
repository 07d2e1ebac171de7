#include "platform/qtquick/multimedia/video_frames.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "veltrane/face/frame_picture.h"

namespace veltrane::qtquick::multimedia::test {
namespace {

using Format = QVideoFrameFormat::PixelFormat;

constexpr Host kHost;

/// What a camera saw: a bright red half at the left, a dark blue one at the right.
struct Rgb {
  int red, green, blue;
};
Rgb colorAt(int x, int width) {
  return x < width / 2 ? Rgb{220, 40, 30} : Rgb{20, 30, 120};
}

struct Yuv {
  std::uint8_t luma, u, v;
};
/// Full range, BT.601.
Yuv yuvOf(const Rgb& c) {
  const double luma = 0.299 * c.red + 0.587 * c.green + 0.114 * c.blue;
  const auto byte = [](double value) { return static_cast<std::uint8_t>(std::lround(value)); };
  return {byte(luma), byte(128 + (c.blue - luma) / 1.772), byte(128 + (c.red - luma) / 1.402)};
}

/// Offsets of red, green and blue in a pixel; nothing for formats without.
std::vector<int> colorOrder(Format format) {
  switch (format) {
    case Format::Format_ARGB8888:
    case Format::Format_XRGB8888:
      return {1, 2, 3};
    case Format::Format_BGRA8888:
    case Format::Format_BGRX8888:
      return {2, 1, 0};
    case Format::Format_ABGR8888:
    case Format::Format_XBGR8888:
      return {3, 2, 1};
    case Format::Format_RGBA8888:
    case Format::Format_RGBX8888:
      return {0, 1, 2};
    default:
      return {};
  }
}

void fillPixel(QVideoFrame& frame, int x, int y) {
  const Rgb color = colorAt(x, frame.width());
  const Yuv yuv = yuvOf(color);
  const auto at = [&](int plane, int row, int column) {
    return frame.bits(plane) + std::ptrdiff_t{row} * frame.bytesPerLine(plane) + column;
  };
  switch (frame.pixelFormat()) {
    case Format::Format_NV12:
    case Format::Format_NV21: {
      const bool isSwapped = frame.pixelFormat() == Format::Format_NV21;
      *at(0, y, x) = yuv.luma;
      at(1, y / 2, x & ~1)[isSwapped ? 1 : 0] = yuv.u;
      at(1, y / 2, x & ~1)[isSwapped ? 0 : 1] = yuv.v;
      break;
    }
    case Format::Format_YUV420P:
    case Format::Format_YV12: {
      const bool isSwapped = frame.pixelFormat() == Format::Format_YV12;
      *at(0, y, x) = yuv.luma;
      *at(isSwapped ? 2 : 1, y / 2, x / 2) = yuv.u;
      *at(isSwapped ? 1 : 2, y / 2, x / 2) = yuv.v;
      break;
    }
    case Format::Format_YUYV:
      *at(0, y, 2 * x) = yuv.luma;
      at(0, y, 4 * (x / 2))[1] = yuv.u;
      at(0, y, 4 * (x / 2))[3] = yuv.v;
      break;
    case Format::Format_UYVY:
      *at(0, y, 2 * x + 1) = yuv.luma;
      at(0, y, 4 * (x / 2))[0] = yuv.u;
      at(0, y, 4 * (x / 2))[2] = yuv.v;
      break;
    case Format::Format_Y8:
      *at(0, y, x) = yuv.luma;
      break;
    default: {
      const auto order = colorOrder(frame.pixelFormat());
      at(0, y, 4 * x)[order[0]] = static_cast<std::uint8_t>(color.red);
      at(0, y, 4 * x)[order[1]] = static_cast<std::uint8_t>(color.green);
      at(0, y, 4 * x)[order[2]] = static_cast<std::uint8_t>(color.blue);
    }
  }
}

QVideoFrame frameOf(Format pixels, QSize size = {30, 22}) {
  QVideoFrameFormat format(size, pixels);
  format.setColorRange(QVideoFrameFormat::ColorRange_Full);
  QVideoFrame frame(format);
  EXPECT_TRUE(frame.map(QVideoFrame::WriteOnly));
  for (int y = 0; y < size.height(); ++y) {
    for (int x = 0; x < size.width(); ++x) fillPixel(frame, x, y);
  }
  frame.unmap();
  return frame;
}

/// Of a pixel of the upright picture.
Rgb seen(const PixelBuffer& buffer, int x, int y) {
  const PicturePtr picture = face::pictureFrom(buffer);
  if (!picture) return {-1, -1, -1};
  const auto* pixel = picture->pixels.data() + 4 * (y * picture->size.width + x);
  return {pixel[0], pixel[1], pixel[2]};
}

::testing::AssertionResult looksLike(const Rgb& a, const Rgb& b, int tolerance = 4) {
  const int apart =
      std::max({std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
  if (apart <= tolerance) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a.red << ',' << a.green << ',' << a.blue << " is not "
                                       << b.red << ',' << b.green << ',' << b.blue;
}

constexpr Format kColorful[] = {
    Format::Format_NV12,     Format::Format_NV21,     Format::Format_YUV420P,
    Format::Format_YV12,     Format::Format_YUYV,     Format::Format_UYVY,
    Format::Format_ARGB8888, Format::Format_XRGB8888, Format::Format_BGRA8888,
    Format::Format_BGRX8888, Format::Format_ABGR8888, Format::Format_XBGR8888,
    Format::Format_RGBA8888, Format::Format_RGBX8888,
};

/// As cameras do once they are closed.
void takeMemoryBack(QVideoFrame& frame) {
  ASSERT_TRUE(frame.map(QVideoFrame::WriteOnly)) << "nothing of it is held any more";
  for (int plane = 0; plane < frame.planeCount(); ++plane) {
    std::fill_n(frame.bits(plane), frame.mappedBytes(plane), std::uint8_t{0});
  }
  frame.unmap();
}

TEST(VideoFrames, ofEveryFormatKeepTheirColoursWhenTheCameraIsGone) {
  for (const Format format : kColorful) {
    SCOPED_TRACE(static_cast<int>(format));
    PixelBufferPtr buffer;
    {
      QVideoFrame frame = frameOf(format);
      buffer = pixelBufferFrom(frame, kHost);
      takeMemoryBack(frame);
    }
    ASSERT_NE(buffer, nullptr);
    ASSERT_TRUE(buffer->isSound());
    EXPECT_EQ(buffer->size, (PixelSize{30, 22}));
    EXPECT_TRUE(looksLike(seen(*buffer, 2, 1), colorAt(2, 30)));
    EXPECT_TRUE(looksLike(seen(*buffer, 29, 21), colorAt(29, 30)));
    EXPECT_NE(kindOf(format), OfferedFormat::unusable);
  }
}

TEST(VideoFrames, oddSizesAreWhole) {
  for (const Format format :
       {Format::Format_NV12, Format::Format_NV21, Format::Format_Y8, Format::Format_RGBA8888}) {
    SCOPED_TRACE(static_cast<int>(format));
    const QVideoFrame frame = frameOf(format, {31, 23});
    const auto buffer = pixelBufferFrom(frame, kHost);
    // Qt may have taken less memory than such a frame needs, in which case there is none.
    if (!buffer) continue;
    EXPECT_TRUE(buffer->isSound());
    const Rgb last = seen(*buffer, 30, 22);
    if (format == Format::Format_Y8) {
      EXPECT_TRUE(looksLike(last, {yuvOf(colorAt(30, 31)).luma, yuvOf(colorAt(30, 31)).luma,
                                   yuvOf(colorAt(30, 31)).luma}));
    } else {
      EXPECT_TRUE(looksLike(last, colorAt(30, 31)));
    }
  }
}

TEST(VideoFrames, turnDirectionAndColoursAreTakenOver) {
  QVideoFrame frame = frameOf(Format::Format_BGRA8888);
  frame.setRotationAngle(QVideoFrame::Rotation90);
  frame.setMirrored(true);
  const auto turned = pixelBufferFrom(frame, kHost);
  EXPECT_EQ(turned->turn, Turn::quarter);
  // Clockwise: what was at the left is above. Mirroring is for what draws it.
  EXPECT_TRUE(looksLike(seen(*turned, 3, 2), colorAt(0, 30)));
  EXPECT_TRUE(looksLike(seen(*turned, 3, 28), colorAt(29, 30)));

  QVideoFrameFormat format({30, 22}, Format::Format_NV12);
  format.setScanLineDirection(QVideoFrameFormat::BottomToTop);
  format.setColorSpace(QVideoFrameFormat::ColorSpace_BT709);
  QVideoFrame upsideDown(format);
  ASSERT_TRUE(upsideDown.map(QVideoFrame::WriteOnly));
  std::fill_n(upsideDown.bits(0), upsideDown.mappedBytes(0), std::uint8_t{16});
  std::fill_n(upsideDown.bits(1), upsideDown.mappedBytes(1), std::uint8_t{128});
  *upsideDown.bits(0) = 235;
  upsideDown.unmap();
  const auto upright = pixelBufferFrom(upsideDown, kHost);
  EXPECT_EQ(upright->matrix, ColorMatrix::bt709);
  EXPECT_EQ(upright->range, ColorRange::video);
  EXPECT_TRUE(looksLike(seen(*upright, 0, 21), {255, 255, 255}));
  EXPECT_TRUE(looksLike(seen(*upright, 0, 0), {0, 0, 0}));
  EXPECT_EQ(pixelBufferFrom(frameOf(Format::Format_NV12, {1280, 720}), kHost)->matrix,
            ColorMatrix::bt709);
  EXPECT_EQ(pixelBufferFrom(frameOf(Format::Format_NV12, {640, 480}), kHost)->matrix,
            ColorMatrix::bt601);
}

/// A frame of bytes of one kind, as cameras hand over compressed pictures.
QVideoFrame jpegFrame(const QByteArray& bytes, QSize size) {
  // One row as long as the bytes.
  QVideoFrame frame(QVideoFrameFormat(size, Format::Format_Jpeg));
  EXPECT_TRUE(frame.map(QVideoFrame::WriteOnly));
  EXPECT_LE(bytes.size(), frame.mappedBytes(0));
  std::memcpy(frame.bits(0), bytes.constData(),
              static_cast<std::size_t>(std::min<qsizetype>(bytes.size(), frame.mappedBytes(0))));
  frame.unmap();
  return frame;
}

QByteArray jpegOf(const QImage& image) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  EXPECT_TRUE(image.save(&buffer, "JPG", 95));
  return bytes;
}

PixelBufferPtr decompressed(QVideoFrame frame) {
  frame.setRotationAngle(QVideoFrame::Rotation180);
  const CompressedFrame copy(frame);
  if (frame.isValid()) takeMemoryBack(frame);
  return copy.decompressed(kHost);
}

TEST(VideoFrames, compressedOnesAreDecompressed) {
  QImage image(160, 120, QImage::Format_RGB32);
  for (int y = 0; y < 120; ++y) {
    for (int x = 0; x < 160; ++x) {
      const auto [red, green, blue] = colorAt(x, 160);
      image.setPixel(x, y, qRgb(red, green, blue));
    }
  }
  const QByteArray bytes = jpegOf(image);
  const auto decoded = decompressed(jpegFrame(bytes, {160, 120}));
  ASSERT_NE(decoded, nullptr);
  EXPECT_EQ(decoded->size, (PixelSize{160, 120}));
  EXPECT_EQ(decoded->turn, Turn::half);
  EXPECT_TRUE(looksLike(seen(*decoded, 139, 60), colorAt(20, 160), 12));
  EXPECT_TRUE(looksLike(seen(*decoded, 9, 60), colorAt(150, 160), 12));
  EXPECT_EQ(decompressed(jpegFrame("no picture", {160, 120})), nullptr);
  EXPECT_EQ(decompressed(QVideoFrame()), nullptr);
}

TEST(VideoFrames, compressedOnesMayBeLargerThanCanBeBorne) {
  const QSize size(65'500, 1'100);
  ASSERT_FALSE(isBearable({size.width(), size.height()}));
  QImage image(size, QImage::Format_Grayscale8);
  image.fill(90);
  EXPECT_EQ(decompressed(jpegFrame(jpegOf(image), {1920, 1080})), nullptr);
}

TEST(VideoFrames, withoutPixelsThatCanBeHadAreNone) {
  EXPECT_EQ(pixelBufferFrom(QVideoFrame(), kHost), nullptr);
  for (const Format format : {Format::Format_P010, Format::Format_Y16, Format::Format_AYUV}) {
    EXPECT_EQ(kindOf(format), OfferedFormat::unusable);
    EXPECT_EQ(pixelBufferFrom(QVideoFrame(QVideoFrameFormat({32, 24}, format)), kHost), nullptr);
  }
}

}  // namespace
}  // namespace veltrane::qtquick::multimedia::test
