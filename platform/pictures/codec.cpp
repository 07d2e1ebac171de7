#include "platform/pictures/codec.h"

#include <new>
#include <utility>

#include "platform/pictures/decoders.h"
#include "platform/pictures/orientation.h"
#include "platform/pictures/pixels.h"
#include "platform/pictures/png_encoder.h"
#include "platform/pictures/scalers.h"

namespace veltrane::pictures {
namespace {

/// Whether what decodes and scales is installed, once a picture needs it.
bool hasLibraries() {
#ifdef VELTRANE_LATE_zimg
  static const bool all =
      veltrane_late_load_deflate() && veltrane_late_load_exif() && veltrane_late_load_gif() &&
      veltrane_late_load_jpeg() && veltrane_late_load_pixman() && veltrane_late_load_webp() &&
      veltrane_late_load_webpdemux() && veltrane_late_load_yuv() && veltrane_late_load_zimg();
  return all;
#else
  return true;
#endif
}

/// By how the bytes start; what a server or a file name calls them says nothing.
std::optional<Decoded> decodeAny(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG\r\n\x1a\n")) return decodePNG(bytes);
  if (bytes.starts_with("\xFF\xD8\xFF")) return decodeJPEG(bytes);
  if (bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP")) return decodeWebP(bytes);
  if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) return decodeGIF(bytes);
  return std::nullopt;
}

PicturePtr finished(Decoded decoded) {
  Picture& picture = decoded.picture;
  picture.isOpaque = hasOnlyOpaquePixels(picture);
  if (!picture.isOpaque && !decoded.isPremultiplied) premultiply(picture);
  return std::make_shared<const Picture>(turned(std::move(picture), decoded.orientation));
}

bool isScalable(PixelSize size) {
  return isBearable(size) && size.width <= kMaxScaledSide && size.height <= kMaxScaledSide;
}

bool scale(const Picture& from, Picture& to, ResizeFramework framework) {
  switch (framework) {
    case ResizeFramework::uikit:
    case ResizeFramework::accelerate:
      return scaleWithPixman(from, to);
    case ResizeFramework::coreImage:
      return scaleWithZimg(from, to, Filter::lanczos);
    case ResizeFramework::coreGraphics:
      return scaleWithZimg(from, to, Filter::bicubic);
    case ResizeFramework::imageIO:
      return scaleWithZimg(from, to, Filter::triangle);
  }
  return false;
}

}  // namespace

PicturePtr Codec::decode(std::string_view bytes) const try {
  if (!hasLibraries()) return nullptr;
  auto decoded = decodeAny(bytes);
  return decoded ? finished(std::move(*decoded)) : nullptr;
} catch (const std::bad_alloc&) {
  return nullptr;
}

std::optional<std::string> Codec::encodePNG(const Picture& picture) const try {
  return hasLibraries() && isSound(picture) ? encodedPNG(picture) : std::nullopt;
} catch (const std::bad_alloc&) {
  return std::nullopt;
}

PicturePtr Codec::resize(const Picture& picture, PixelSize size, ResizeFramework framework) const
    try {
  if (!hasLibraries() || !isSound(picture) || !isScalable(picture.size) || !isScalable(size))
    return nullptr;
  const auto result = std::make_shared<Picture>(unwritten(size));
  if (!scale(picture, *result, framework)) return nullptr;
  result->isOpaque = picture.isOpaque || hasOnlyOpaquePixels(*result);
  return result;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace veltrane::pictures
