#pragma once

#include <QByteArray>
#include <QVideoFrame>
#include <QVideoFrameFormat>

#include "platform/qtquick/multimedia/camera_choice.h"
#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick::multimedia {

OfferedFormat::Kind kindOf(QVideoFrameFormat::PixelFormat format);

/// A copy of a frame of Qt's as one of ours, wiped when it goes; the frame and its camera may go
/// before. Null when the pixels cannot be had or are compressed. Any thread.
PixelBufferPtr pixelBufferFrom(const QVideoFrame& frame, const Host& host);

/// A copy of a compressed frame, which may go before it, and its camera too. Wiped when it goes.
class CompressedFrame {
 public:
  explicit CompressedFrame(const QVideoFrame& frame);
  ~CompressedFrame();
  CompressedFrame(const CompressedFrame&) = delete;
  CompressedFrame& operator=(const CompressedFrame&) = delete;

  /// Null when it is damaged. Takes some milliseconds; any thread.
  PixelBufferPtr decompressed(const Host& host) const;

 private:
  const QVideoFrameFormat format_;
  const QVideoFrame::RotationAngle angle_;
  QByteArray bytes_;
};

}  // namespace veltrane::qtquick::multimedia
