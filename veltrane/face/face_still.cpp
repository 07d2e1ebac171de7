#include "veltrane/face/face_still.h"

#include <algorithm>
#include <new>
#include <utility>

#include "veltrane/base/wipe.h"
#include "veltrane/face/frame_picture.h"
#include "veltrane/face/image.h"
#include "veltrane/toolkit/picture_codec.h"

namespace veltrane {
namespace {

/// Wipes pixels that nobody else has a handle of.
class WipedOnReturn {
 public:
  explicit WipedOnReturn(const PicturePtr& picture) : picture_(picture) {}
  ~WipedOnReturn() {
    if (!picture_ || picture_.use_count() > 1) return;
    // The elements of a vector are no constants, whatever the handle to it is.
    wipe(const_cast<std::uint8_t*>(picture_->pixels.data()), picture_->pixels.size());
  }
  WipedOnReturn(const WipedOnReturn&) = delete;
  WipedOnReturn& operator=(const WipedOnReturn&) = delete;

 private:
  const PicturePtr& picture_;
};

}  // namespace

FaceStill::~FaceStill() {
  wipe(png.data(), png.size());
}

namespace face {

PixelSize stillSize(PixelSize size) {
  if (std::max(size.width, size.height) <= kLongestSide) return size;
  const double ratio = static_cast<double>(size.width) / size.height;
  // Whole pixels; a picture that is hardly more than a line keeps one.
  const auto shorter = [](double side) { return std::max(static_cast<int>(side), 1); };
  return ratio > 1 ? PixelSize{kLongestSide, shorter(kLongestSide / ratio)}
                   : PixelSize{shorter(kLongestSide * ratio), kLongestSide};
}

std::shared_ptr<const FaceStill> takeStill(const PixelBuffer& frame,
                                           const PictureCodec& codec) try {
  const PicturePtr whole = pictureFrom(frame);
  if (!whole) return nullptr;
  const PixelSize size = stillSize(whole->size);
  PicturePtr scaled;
  const WipedOnReturn wiped(scaled);
  if (size != whole->size) scaled = Image::resizeWithCoreGraphics(*whole, size, codec);
  auto png = codec.encodePNG(scaled ? *scaled : *whole);
  if (!png) return nullptr;
  auto still = std::make_shared<FaceStill>();
  still->png = std::move(*png);
  return still;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace face
}  // namespace veltrane
