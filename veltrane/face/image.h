#pragma once

#include <string>
#include <string_view>

#include "veltrane/toolkit/picture.h"
#include "veltrane/toolkit/picture_codec.h"

namespace veltrane {

/// Small operations on pictures. They need the platform's picture codec; without one, or when it
/// fails, there is no picture (null).
struct Image {
  /// The picture that Base64 text stands for; of a data URL, or any text with commas, what lies
  /// between the first comma and the second. Not on the main thread.
  static PicturePtr base64ToUIImage(std::string_view base64String);
  /// The same for a thread that must not look at what is installed.
  static PicturePtr base64ToUIImage(std::string_view base64String, const PictureCodec& codec);

  /// The URL of the picture's variant for the density of the main screen: on a screen of three
  /// pixels a point, ".../icon.png" becomes ".../icon@3x.png". Text that is no URL stays as it is.
  /// Main thread.
  static std::string getScaledImageURL(const std::string& urlString);
  /// Pixels a point of that variant; 1 for text that stays as it is.
  static double scaleOfVariant(const std::string& urlString);

  // Scaled to exactly `to`, whatever the proportions. Not on the main thread.
  static PicturePtr resizeWithUIKit(const Picture& picture, PixelSize to);
  static PicturePtr resizeWithCoreImage(const Picture& picture, PixelSize to);
  static PicturePtr resizeWithCoreGraphics(const Picture& picture, PixelSize to);
  /// The same for a thread that must not look at what is installed.
  static PicturePtr resizeWithCoreGraphics(const Picture& picture, PixelSize to,
                                           const PictureCodec& codec);
  static PicturePtr resizeWithImageIO(const Picture& picture, PixelSize to);
  static PicturePtr resizeWithAccelerate(const Picture& picture, PixelSize to);
  static PicturePtr resize(const Picture& picture, PixelSize to, ResizeFramework framework);
};

}  // namespace veltrane
