#pragma once

#include "veltrane/toolkit/picture_codec.h"

namespace veltrane::pictures {

/// PNG, JPEG, WebP and GIF by their own libraries, scaling by zimg and pixman
/// (docs/pictures.md says which does what, and why). Has no state, so threads may share one.
///
/// Not decoded, whatever their format: sides of more than a million pixels, animations beyond their
/// first frame, a JPEG whose scans are only there to keep the decoder busy. Not scaled: pictures of
/// which a side, before or after, is longer than 32,000 pixels.
class Codec final : public PictureCodec {
 public:
  PicturePtr decode(std::string_view bytes) const override;
  std::optional<std::string> encodePNG(const Picture& picture) const override;
  PicturePtr resize(const Picture& picture, PixelSize size,
                    ResizeFramework framework) const override;
};

}  // namespace veltrane::pictures
