#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/toolkit/picture.h"

namespace veltrane {

/// Ways to scale a picture, named after the imaging libraries of the platform that this interface
/// comes from; an adapter maps each to the nearest library it has.
enum class ResizeFramework : std::uint8_t {
  uikit,
  coreImage,
  coreGraphics,
  imageIO,
  accelerate,
};

/// Port: encoded pictures to pixels and back, and scaling. Called from any thread, from several at
/// once, never from the main thread. Nothing throws; whatever is in the bytes, memory stays within
/// what `isBearable` allows.
class PictureCodec {
 public:
  virtual ~PictureCodec() = default;

  /// The picture in `bytes`, turned upright as its metadata asks; of several frames the first.
  /// PNG, JPEG, WebP and GIF at least. Null for anything else, a picture cut short or too large.
  virtual PicturePtr decode(std::string_view bytes) const = 0;

  /// A PNG of the picture without metadata; RGB without alpha when it is opaque.
  virtual std::optional<std::string> encodePNG(const Picture& picture) const = 0;

  /// The picture scaled to exactly `size`, whatever its proportions; null when that fails.
  virtual PicturePtr resize(const Picture& picture, PixelSize size,
                            ResizeFramework framework) const = 0;
};

}  // namespace veltrane
