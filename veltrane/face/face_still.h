#pragma once

#include <memory>
#include <string>

#include "veltrane/face/pixel_buffer.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane {

class PictureCodec;

/// The picture of a face, ready to be sent. Wiped when it goes.
struct FaceStill {
  FaceStill() = default;
  ~FaceStill();
  FaceStill(const FaceStill&) = delete;
  FaceStill& operator=(const FaceStill&) = delete;

  std::string png;
};

namespace face {

/// The longer side of a still has at most this many pixels.
inline constexpr int kLongestSide = 1000;

/// What a picture of this size is scaled to; itself when it is small enough.
PixelSize stillSize(PixelSize size);

/// The whole of a frame, upright, scaled down where it is too large, as PNG. When scaling
/// fails the still has the frame's own size. Null when there is no PNG of it, or no memory for it.
/// Not on the main thread.
std::shared_ptr<const FaceStill> takeStill(const PixelBuffer& frame, const PictureCodec& codec);

}  // namespace face
}  // namespace veltrane
