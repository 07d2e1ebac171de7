#include "platform/qtquick/multimedia/video_frames.h"

#include <QImage>
#include <algorithm>
#include <cstring>
#include <optional>

namespace veltrane::qtquick::multimedia {
namespace {

using Format = QVideoFrameFormat::PixelFormat;
using BufferPtr = std::shared_ptr<PixelBuffer>;

/// A frame that stays mapped for as long as this lives.
class Mapped {
 public:
  explicit Mapped(const QVideoFrame& frame) : frame_(frame) {
    isMapped_ = frame_.map(QVideoFrame::ReadOnly);
  }
  ~Mapped() {
    if (isMapped_) frame_.unmap();
  }
  Mapped(const Mapped&) = delete;
  Mapped& operator=(const Mapped&) = delete;

  explicit operator bool() const { return isMapped_; }
  PixelSize size() const { return {frame_.width(), frame_.height()}; }
  /// All of the first plane; nothing of a frame that cannot be had.
  QByteArray copy() const {
    if (!isMapped_) return {};
    return {reinterpret_cast<const char*>(frame_.bits(0)), frame_.mappedBytes(0)};
  }

  /// The rows of a plane from top to bottom, `rowBytes` each; nothing when the plane is too short.
  std::optional<PixelPlane> rows(int plane, int rowBytes, int rows) const {
    const std::ptrdiff_t stride = frame_.bytesPerLine(plane);
    const std::uint8_t* const first = frame_.bits(plane);
    if (plane >= frame_.planeCount() || !first || stride < rowBytes) return std::nullopt;
    if (frame_.mappedBytes(plane) < stride * (rows - 1) + rowBytes) return std::nullopt;
    const bool isUpsideDown =
        frame_.surfaceFormat().scanLineDirection() == QVideoFrameFormat::BottomToTop;
    if (!isUpsideDown) return PixelPlane{first, stride};
    return PixelPlane{first + stride * (rows - 1), -stride};
  }

 private:
  QVideoFrame frame_;
  bool isMapped_ = false;
};

Turn turnOf(QVideoFrame::RotationAngle angle) {
  switch (angle) {
    case QVideoFrame::Rotation90:
      return Turn::quarter;
    case QVideoFrame::Rotation180:
      return Turn::half;
    case QVideoFrame::Rotation270:
      return Turn::threeQuarters;
    default:
      return Turn::none;
  }
}

/// Where a frame does not say, as what draws such frames takes it.
void describe(PixelBuffer& buffer, const QVideoFrameFormat& format) {
  constexpr int kLargestStandardDefinition = 576;
  switch (format.colorSpace()) {
    case QVideoFrameFormat::ColorSpace_BT709:
      buffer.matrix = ColorMatrix::bt709;
      break;
    case QVideoFrameFormat::ColorSpace_BT601:
    case QVideoFrameFormat::ColorSpace_AdobeRgb:
      buffer.matrix = ColorMatrix::bt601;
      break;
    default:
      buffer.matrix = format.frameHeight() > kLargestStandardDefinition ? ColorMatrix::bt709
                                                                        : ColorMatrix::bt601;
  }
  const bool isFull = format.colorRange() == QVideoFrameFormat::ColorRange_Full;
  buffer.range = isFull ? ColorRange::full : ColorRange::video;
}

/// How a format lies in memory that is one of ours, or nearly.
struct Layout {
  PixelFormat format;
  /// Which plane of Qt's each of ours is.
  int planes[PixelBuffer::kMostPlanes] = {0, 1, 2};
};

std::optional<Layout> layoutOf(Format format) {
  switch (format) {
    case Format::Format_NV12:
      return Layout{PixelFormat::nv12};
    case Format::Format_YUV420P:
      return Layout{PixelFormat::i420};
    case Format::Format_YV12:
      return Layout{PixelFormat::i420, {0, 2, 1}};
    case Format::Format_YUYV:
      return Layout{PixelFormat::yuy2};
    case Format::Format_BGRA8888:
    case Format::Format_BGRA8888_Premultiplied:
    case Format::Format_BGRX8888:
      return Layout{PixelFormat::bgra};
    default:
      return std::nullopt;
  }
}

/// Bytes that count in a row of a plane, and rows.
PixelSize extentOf(const PixelBuffer::Writable& made, std::size_t plane, const Host& host) {
  return ((*made.buffer).*host.planeSize)(plane);
}

/// Copied: what lies in a camera's memory goes with the camera, frames or not, and unwiped.
BufferPtr sameOrder(const Mapped& mapped, const Layout& layout, const Host& host) {
  const auto made = host.allocate(layout.format, mapped.size(), 0);
  for (std::size_t i = 0; i < PixelBuffer::kMostPlanes && made.planes[i]; ++i) {
    const auto [rowBytes, rows] = extentOf(made, i, host);
    const auto from = mapped.rows(layout.planes[i], rowBytes, rows);
    if (!from) return nullptr;
    const std::ptrdiff_t stride = made.buffer->planes[i].stride;
    for (std::ptrdiff_t y = 0; y < rows; ++y) {
      std::memcpy(made.planes[i] + y * stride, from->data + y * from->stride,
                  static_cast<std::size_t>(rowBytes));
    }
  }
  return made.buffer;
}

/// Copies a plane `step` bytes at a time, `order` saying which byte of the source goes where.
void reorder(const PixelPlane& from, std::uint8_t* to, std::ptrdiff_t stride, int rows, int steps,
             int step, const int* order) {
  for (int y = 0; y < rows; ++y) {
    const std::uint8_t* source = from.data + y * from.stride;
    std::uint8_t* target = to + y * stride;
    for (int x = 0; x < steps; ++x, source += step, target += step) {
      for (int i = 0; i < step; ++i) target[i] = source[order[i]];
    }
  }
}

/// One plane of pixels whose bytes stand in another order.
BufferPtr reordered(const Mapped& mapped, PixelFormat format, const int (&order)[4],
                    const Host& host) {
  const auto made = host.allocate(format, mapped.size(), 0);
  const auto [rowBytes, rows] = extentOf(made, 0, host);
  const auto from = mapped.rows(0, rowBytes, rows);
  if (!from) return nullptr;
  reorder(*from, made.planes[0], made.buffer->planes[0].stride, rows, rowBytes / 4, 4, order);
  return made.buffer;
}

BufferPtr fromNV21(const Mapped& mapped, const Host& host) {
  static constexpr int kSame[] = {0};
  static constexpr int kSwapped[] = {1, 0};
  const PixelSize size = mapped.size();
  const auto made = host.allocate(PixelFormat::nv12, size, 0);
  const auto [width, height] = extentOf(made, 1, host);
  const auto luma = mapped.rows(0, size.width, size.height);
  const auto chroma = mapped.rows(1, width, height);
  if (!luma || !chroma) return nullptr;
  const auto* planes = made.buffer->planes;
  reorder(*luma, made.planes[0], planes[0].stride, size.height, size.width, 1, kSame);
  reorder(*chroma, made.planes[1], planes[1].stride, height, width / 2, 2, kSwapped);
  return made.buffer;
}

BufferPtr fromYUV422P(const Mapped& mapped, const Host& host) {
  const PixelSize size = mapped.size();
  const auto made = host.allocate(PixelFormat::yuy2, size, 0);
  const int pairs = extentOf(made, 0, host).width / 4;
  const auto luma = mapped.rows(0, size.width, size.height);
  const auto u = mapped.rows(1, pairs, size.height);
  const auto v = mapped.rows(2, pairs, size.height);
  if (!luma || !u || !v) return nullptr;
  for (std::ptrdiff_t y = 0; y < size.height; ++y) {
    std::uint8_t* target = made.planes[0] + y * made.buffer->planes[0].stride;
    const std::uint8_t* const row = luma->data + y * luma->stride;
    for (int x = 0; x < pairs; ++x, target += 4) {
      target[0] = row[2 * x];
      target[1] = u->data[y * u->stride + x];
      target[2] = row[std::min(2 * x + 1, size.width - 1)];
      target[3] = v->data[y * v->stride + x];
    }
  }
  return made.buffer;
}

BufferPtr fromGrey(const Mapped& mapped, const Host& host) {
  static constexpr int kSame[] = {0};
  const PixelSize size = mapped.size();
  const auto luma = mapped.rows(0, size.width, size.height);
  if (!luma) return nullptr;
  const auto made = host.allocate(PixelFormat::nv12, size, 0);
  const auto* planes = made.buffer->planes;
  reorder(*luma, made.planes[0], planes[0].stride, size.height, size.width, 1, kSame);
  const int rows = extentOf(made, 1, host).height;
  std::memset(made.planes[1], 128, static_cast<std::size_t>(planes[1].stride * rows));
  return made.buffer;
}

BufferPtr fromJPEG(const QByteArray& bytes, const Host& host) {
  QImage image = QImage::fromData(bytes, "JPG");
  if (!isBearable({image.width(), image.height()})) return nullptr;
  QImage rgb = image.convertToFormat(QImage::Format_RGB888);
  image.fill(0);
  if (rgb.isNull()) return nullptr;
  const auto made = host.allocate(PixelFormat::rgb, {rgb.width(), rgb.height()}, 0);
  const auto rowBytes = static_cast<std::size_t>(3 * rgb.width());
  for (int y = 0; y < rgb.height(); ++y) {
    std::memcpy(made.planes[0] + y * made.buffer->planes[0].stride, rgb.constScanLine(y), rowBytes);
  }
  rgb.fill(0);
  return made.buffer;
}

BufferPtr copied(const Mapped& mapped, Format format, const Host& host) {
  switch (format) {
    case Format::Format_NV21:
      return fromNV21(mapped, host);
    case Format::Format_UYVY:
      return reordered(mapped, PixelFormat::yuy2, {1, 0, 3, 2}, host);
    case Format::Format_ARGB8888:
    case Format::Format_ARGB8888_Premultiplied:
    case Format::Format_XRGB8888:
      return reordered(mapped, PixelFormat::bgra, {3, 2, 1, 0}, host);
    case Format::Format_ABGR8888:
    case Format::Format_XBGR8888:
      return reordered(mapped, PixelFormat::bgra, {1, 2, 3, 0}, host);
    case Format::Format_RGBA8888:
    case Format::Format_RGBX8888:
      return reordered(mapped, PixelFormat::bgra, {2, 1, 0, 3}, host);
    case Format::Format_YUV422P:
      return fromYUV422P(mapped, host);
    case Format::Format_Y8:
      return fromGrey(mapped, host);
    default:
      return nullptr;
  }
}

}  // namespace

OfferedFormat::Kind kindOf(Format format) {
  switch (format) {
    case Format::Format_NV12:
    case Format::Format_NV21:
    case Format::Format_YUV420P:
    case Format::Format_YV12:
      return OfferedFormat::halvedChroma;
    case Format::Format_Jpeg:
      return OfferedFormat::compressed;
    case Format::Format_UYVY:
    case Format::Format_YUV422P:
    case Format::Format_ARGB8888:
    case Format::Format_ARGB8888_Premultiplied:
    case Format::Format_XRGB8888:
    case Format::Format_ABGR8888:
    case Format::Format_XBGR8888:
    case Format::Format_RGBA8888:
    case Format::Format_RGBX8888:
    case Format::Format_Y8:
      return OfferedFormat::usable;
    default:
      return layoutOf(format) ? OfferedFormat::usable : OfferedFormat::unusable;
  }
}

CompressedFrame::CompressedFrame(const QVideoFrame& frame)
    : format_(frame.surfaceFormat()), angle_(frame.rotationAngle()), bytes_(Mapped(frame).copy()) {}

CompressedFrame::~CompressedFrame() {
  bytes_.fill('\0');
}

PixelBufferPtr CompressedFrame::decompressed(const Host& host) const {
  const auto made = fromJPEG(bytes_, host);
  if (!made) return nullptr;
  describe(*made, format_);
  made->turn = turnOf(angle_);
  return made;
}

PixelBufferPtr pixelBufferFrom(const QVideoFrame& frame, const Host& host) {
  const Mapped mapped(frame);
  if (!mapped || !isBearable(mapped.size())) return nullptr;
  const auto layout = layoutOf(frame.pixelFormat());
  const auto made =
      layout ? sameOrder(mapped, *layout, host) : copied(mapped, frame.pixelFormat(), host);
  if (!made) return nullptr;
  describe(*made, frame.surfaceFormat());
  made->turn = turnOf(frame.rotationAngle());
  return made;
}

}  // namespace veltrane::qtquick::multimedia
