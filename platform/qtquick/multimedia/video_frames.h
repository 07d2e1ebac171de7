#pragma once

#include <QVideoFrame>
#include <QVideoFrameFormat>

#include "platform/qtquick/multimedia/camera_choice.h"
#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick::multimedia {

OfferedFormat::Kind kindOf(QVideoFrameFormat::PixelFormat format);

/// A copy of a frame of Qt's as one of ours, wiped when it goes; the frame and its camera may go
/// before. Null when the pixels cannot be had. Compressed frames take some milliseconds. Any
/// thread.
PixelBufferPtr pixelBufferFrom(const QVideoFrame& frame, const Host& host);

}  // namespace veltrane::qtquick::multimedia
