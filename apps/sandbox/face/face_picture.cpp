#include "apps/sandbox/face/face_picture.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kAroundData = 12;  // length, name and sum of a chunk
constexpr std::size_t kHeaderBytes = 13;
constexpr unsigned char kBits = 8;

[[noreturn]] void refuse(const std::string& what) {
  throw Refusal("badFacePicture", "The parameter \"imageData\" " + what);
}

// ---- Base64

int valueOf(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

/// Without line breaks, with its padding, and with no bit set that stands for nothing: there is one
/// way alone to write some bytes.
std::optional<std::string> decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  text.remove_suffix(padding);
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const int value = valueOf(c);
    if (value < 0) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  if ((bits & ((1U << count) - 1)) != 0) return std::nullopt;
  return bytes;
}

std::string bytesOf(const nlohmann::json& imageData) {
  if (imageData.is_null()) refuse("is missing.");
  if (!imageData.is_string()) refuse("is no text.");
  const auto& text = imageData.get_ref<const std::string&>();
  if (text.empty()) refuse("is empty.");
  if (text.starts_with("data:")) refuse("is a data URL; it must be the Base64 text alone.");
  auto bytes = decoded(text);
  if (!bytes) refuse("is no Base64 text, in one line and with its padding.");
  const auto again = decoded(*bytes);
  if (again && again->starts_with(kSignature)) refuse("was encoded twice.");
  return std::move(*bytes);
}

// ---- the file

std::uint32_t bigEndian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

struct Chunk {
  std::string_view name;
  std::string_view data;
};

Chunk takeChunk(std::string_view& rest) {
  if (rest.size() < kAroundData || bigEndian(rest) > rest.size() - kAroundData) {
    refuse("is a PNG that ends too soon.");
  }
  const std::size_t size = bigEndian(rest);
  const std::string_view summed = rest.substr(4, size + 4);
  const auto sum =
      ::crc32(0, reinterpret_cast<const Bytef*>(summed.data()), static_cast<uInt>(summed.size()));
  if (sum != bigEndian(rest.substr(size + 8))) {
    refuse("is a PNG with a part whose checksum is wrong.");
  }
  rest.remove_prefix(size + kAroundData);
  return {summed.substr(0, 4), summed.substr(4)};
}

/// A name comes from the client: only what cannot be mistaken for anything else is repeated.
std::string printable(std::string_view name) {
  std::string text(name);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c <= ' ' || c >= 0x7F; }, '?');
  return text;
}

void readHeader(std::string_view data, FacePicture& picture) {
  if (data.size() != kHeaderBytes) refuse("is a PNG with a header of the wrong length.");
  picture.width = bigEndian(data);
  picture.height = bigEndian(data.substr(4));
  if (data[8] != kBits || data[9] != PNG_COLOR_TYPE_RGB) {
    refuse("is a PNG of another kind than red, green and blue with 8 bits each.");
  }
  if (data[12] != PNG_INTERLACE_NONE) refuse("is an interlaced PNG.");
  const unsigned longest = std::max(picture.width, picture.height);
  if (picture.width == 0 || picture.height == 0 || longest > kLongestSideOfFace) {
    refuse("is a PNG of " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
           " pixels; the longer side must have " + std::to_string(kLongestSideOfFace) +
           " at most.");
  }
}

void checkChunks(FacePicture& picture) {
  std::string_view rest = picture.png;
  rest.remove_prefix(kSignature.size());
  Chunk chunk = takeChunk(rest);
  if (chunk.name != "IHDR") refuse("is a PNG that does not begin with its header.");
  readHeader(chunk.data, picture);
  for (chunk = takeChunk(rest); chunk.name != "IEND"; chunk = takeChunk(rest)) {
    if (chunk.name != "IDAT") {
      refuse("is a PNG with a part \"" + printable(chunk.name) +
             "\": nothing but the picture may be in it.");
    }
  }
  if (!rest.empty()) refuse("is a PNG with something behind its end.");
}

void checkPixels(const FacePicture& picture) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  std::vector<png_byte> pixels;
  bool isWhole =
      png_image_begin_read_from_memory(&image, picture.png.data(), picture.png.size()) != 0;
  if (isWhole) {
    image.format = PNG_FORMAT_RGB;
    pixels.resize(PNG_IMAGE_SIZE(image));
    isWhole = png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) != 0;
  }
  // A warning is told as well: of pixels that are missing, say.
  isWhole = isWhole && image.warning_or_error == 0;
  png_image_free(&image);
  if (!isWhole) refuse("is a PNG whose pixels cannot be read.");
}

}  // namespace

FacePicture checkedFacePicture(const nlohmann::json& imageData) {
  FacePicture picture{.png = bytesOf(imageData)};
  if (!picture.png.starts_with(kSignature)) refuse("is no PNG.");
  checkChunks(picture);
  checkPixels(picture);
  return picture;
}

}  // namespace veltrane::sandbox
