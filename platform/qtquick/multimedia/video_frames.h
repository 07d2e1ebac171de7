#pragma once

#include <QVideoFrame>
#include <QVideoFrameFormat>

#include "platform/qtquick/multimedia/camera_choice.h"
#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick::multimedia {

OfferedFormat::Kind kindOf(QVideoFrameFormat::PixelFormat format);

/// A frame of Qt's as one of ours. Pixels of the formats that we know too stay where they are, for
/// as long as the result lives; others are copied, and wiped when it goes. Null when the pixels
/// cannot be had. Compressed frames take some milliseconds. Any thread.
PixelBufferPtr pixelBufferFrom(const QVideoFrame& frame, const Host& host);

}  // namespace veltrane::qtquick::multimedia
