#include "apps/sandbox/pictures/picture_file.h"

#include <map>
#include <mutex>
#include <string_view>

#include "apps/sandbox/pictures/drawings.h"
#include "apps/sandbox/pictures/encoders.h"

namespace veltrane::sandbox {
namespace {

constexpr int kLarge = 3;

struct Parts {
  std::string drawing;
  bool turned = false;
  int scale = 1;
  std::string kind;
};

bool removeSuffix(std::string& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.resize(text.size() - suffix.size());
  return true;
}

Parts partsOf(const std::string& name) {
  Parts parts;
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos) return parts;
  parts.drawing = name.substr(0, dot);
  parts.kind = name.substr(dot + 1);
  if (removeSuffix(parts.drawing, "@2x")) {
    parts.scale = 2;
  } else if (removeSuffix(parts.drawing, "@3x")) {
    parts.scale = 3;
  }
  if (removeSuffix(parts.drawing, "-large")) parts.scale *= kLarge;
  parts.turned = removeSuffix(parts.drawing, "-turned");
  return parts;
}

std::optional<PictureFile> draw(const std::string& name) {
  const Parts parts = partsOf(name);
  if (parts.turned && parts.kind != "jpg") return std::nullopt;
  const auto bitmap = drawing(parts.drawing, parts.scale);
  if (!bitmap) return std::nullopt;
  if (parts.kind == "png") return PictureFile{"image/png", png(*bitmap)};
  if (parts.kind == "webp") return PictureFile{"image/webp", webp(*bitmap)};
  if (parts.kind != "jpg") return std::nullopt;
  return PictureFile{"image/jpeg", parts.turned ? turnedJpeg(*bitmap) : jpeg(*bitmap)};
}

}  // namespace

std::optional<PictureFile> pictureFile(const std::string& name) {
  static std::mutex mutex;
  static std::map<std::string, PictureFile> drawn;
  const std::lock_guard lock(mutex);
  const auto known = drawn.find(name);
  if (known != drawn.end()) return known->second;
  auto file = draw(name);
  if (file) drawn.emplace(name, *file);
  return file;
}

std::string qrPicture(const std::string& text) {
  return base64(png(qrCode(text)));
}

}  // namespace veltrane::sandbox
