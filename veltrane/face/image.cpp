#include "veltrane/face/image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "veltrane/base/base64.h"
#include "veltrane/base/fatal.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/device.h"

namespace veltrane {
namespace {

/// Pixels a point of the main screen, as a whole number.
int wholeScale() {
  const auto& device = Platform::current().device;
  const double scale = device ? device->screenScale() : 1;
  if (!std::isfinite(scale)) fatal("The screen's scale is not a finite number.");
  return static_cast<int>(std::clamp(scale, 0.0, double{std::numeric_limits<int>::max()}));
}

bool mayStandInURL(char c) {
  constexpr std::string_view kNeverPlain = "\"<>\\^`{|}";
  return c > ' ' && c < 0x7F && kNeverPlain.find(c) == std::string_view::npos;
}

/// Where the path of a URL lies in its text.
struct PathRange {
  std::size_t begin;
  std::size_t end;
};

PathRange pathOf(std::string_view url) {
  const std::size_t end = std::min(url.find_first_of("?#"), url.size());
  const std::size_t scheme = url.substr(0, end).find("://");
  if (scheme == std::string_view::npos) return {0, end};
  return {std::min(url.find('/', scheme + 3), end), end};
}

/// The position of the full stop before a path's extension; npos when it has none. A name may
/// begin with one, and a closing slash belongs to no name.
std::size_t extensionDot(std::string_view path) {
  while (path.ends_with('/')) path.remove_suffix(1);
  const std::size_t slash = path.rfind('/');
  const std::size_t name = slash == std::string_view::npos ? 0 : slash + 1;
  const std::size_t dot = path.rfind('.');
  const bool has = dot != std::string_view::npos && dot > name && dot + 1 < path.size();
  return has ? dot : std::string_view::npos;
}

}  // namespace

PicturePtr Image::base64ToUIImage(std::string_view base64String) {
  const auto& codec = Platform::current().pictureCodec;
  return codec ? base64ToUIImage(base64String, *codec) : nullptr;
}

PicturePtr Image::base64ToUIImage(std::string_view base64String, const PictureCodec& codec) {
  if (const std::size_t comma = base64String.find(','); comma != std::string_view::npos) {
    base64String.remove_prefix(comma + 1);
    base64String = base64String.substr(0, base64String.find(','));
  }
  const auto bytes = base64Decoded(base64String);
  return bytes ? codec.decode(*bytes) : nullptr;
}

std::string Image::getScaledImageURL(const std::string& urlString) {
  const int scale = wholeScale();
  const bool isURL = !urlString.empty() && std::all_of(urlString.begin(), urlString.end(),
                                                       [](char c) { return mayStandInURL(c); });
  if (!isURL || scale < 2) return urlString;
  const PathRange range = pathOf(urlString);
  if (range.begin == range.end) return urlString;
  std::string path = urlString.substr(range.begin, range.end - range.begin);
  std::string extension;
  if (const std::size_t dot = extensionDot(path); dot != std::string::npos) {
    const std::size_t end = path.find('/', dot);
    extension = path.substr(dot + 1, end == std::string::npos ? end : end - dot - 1);
    path.erase(dot, extension.size() + 1);
  }
  return urlString.substr(0, range.begin) + path + "@" + std::to_string(scale) + "x." + extension +
         urlString.substr(range.end);
}

double Image::scaleOfVariant(const std::string& urlString) {
  return getScaledImageURL(urlString) == urlString ? 1 : wholeScale();
}

PicturePtr Image::resize(const Picture& picture, PixelSize to, ResizeFramework framework) {
  const auto& codec = Platform::current().pictureCodec;
  return codec && isBearable(to) ? codec->resize(picture, to, framework) : nullptr;
}

PicturePtr Image::resizeWithUIKit(const Picture& picture, PixelSize to) {
  return resize(picture, to, ResizeFramework::uikit);
}

PicturePtr Image::resizeWithCoreImage(const Picture& picture, PixelSize to) {
  return resize(picture, to, ResizeFramework::coreImage);
}

PicturePtr Image::resizeWithCoreGraphics(const Picture& picture, PixelSize to) {
  return resize(picture, to, ResizeFramework::coreGraphics);
}

PicturePtr Image::resizeWithCoreGraphics(const Picture& picture, PixelSize to,
                                         const PictureCodec& codec) {
  return isBearable(to) ? codec.resize(picture, to, ResizeFramework::coreGraphics) : nullptr;
}

PicturePtr Image::resizeWithImageIO(const Picture& picture, PixelSize to) {
  return resize(picture, to, ResizeFramework::imageIO);
}

PicturePtr Image::resizeWithAccelerate(const Picture& picture, PixelSize to) {
  return resize(picture, to, ResizeFramework::accelerate);
}

}  // namespace veltrane
