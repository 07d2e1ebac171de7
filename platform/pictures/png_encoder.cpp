#include "platform/pictures/png_encoder.h"

#include <libdeflate.h>
#include <libyuv/convert_from_argb.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/pictures/pixels.h"
#include "veltrane/base/wipe.h"

namespace veltrane::pictures {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view kSignature("\x89PNG\r\n\x1a\n", 8);
constexpr std::uint8_t kAverageFilter = 3;
constexpr std::uint8_t kRGB = 2;
constexpr std::uint8_t kRGBA = 6;

struct Free {
  void operator()(libdeflate_compressor* compressor) const {
    libdeflate_free_compressor(compressor);
  }
};

std::array<char, 4> bigEndian(std::size_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
          static_cast<char>(value >> 8), static_cast<char>(value)};
}

void append(std::string& file, std::size_t value) {
  const auto bytes = bigEndian(value);
  file.append(bytes.data(), bytes.size());
}

void appendChecksum(std::string& file, std::size_t start) {
  append(file, libdeflate_crc32(0, file.data() + start, file.size() - start));
}

void appendChunk(std::string& file, std::string_view name, std::string_view data) {
  append(file, data.size());
  const std::size_t start = file.size();
  file.append(name).append(data);
  appendChecksum(file, start);
}

std::string header(const Picture& picture) {
  std::string data;
  append(data, static_cast<std::size_t>(picture.size.width));
  append(data, static_cast<std::size_t>(picture.size.height));
  const char color = static_cast<char>(picture.isOpaque ? kRGB : kRGBA);
  return data.append({8, color, 0, 0, 0});
}

/// A row as the file wants it: straight alpha, or none.
void writeRow(const Picture& picture, int y, std::uint8_t* to) {
  const int width = picture.size.width;
  if (picture.isOpaque) {
    // The names count bytes from the other end: what goes is the alpha.
    libyuv::ARGBToRGB24(row(picture, y), 0, to, 0, width, 1);
  } else {
    unpremultiply(row(picture, y), to, static_cast<std::size_t>(width));
  }
}

/// Each byte less the mean of those to its left and above. `current` and `above` have a pixel of
/// zeros before their first.
void filterRow(const std::uint8_t* current, const std::uint8_t* above, std::size_t pixelBytes,
               std::size_t count, std::uint8_t* to) {
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned mean = (unsigned{current[i]} + above[i + pixelBytes]) / 2;
    to[i] = static_cast<std::uint8_t>(current[i + pixelBytes] - mean);
  }
}

Bytes filtered(const Picture& picture) {
  const std::size_t pixelBytes = picture.isOpaque ? 3 : 4;
  const std::size_t count = pixelBytes * static_cast<std::size_t>(picture.size.width);
  Bytes current(pixelBytes + count);
  Bytes above(pixelBytes + count);
  Bytes result((1 + count) * static_cast<std::size_t>(picture.size.height));
  std::uint8_t* to = result.data();
  for (int y = 0; y < picture.size.height; ++y, to += count) {
    writeRow(picture, y, current.data() + pixelBytes);
    *to++ = kAverageFilter;
    filterRow(current.data(), above.data(), pixelBytes, count, to);
    std::swap(current, above);
  }
  wipe(current.data(), current.size());
  wipe(above.data(), above.size());
  return result;
}

/// Compresses straight into the file: the data may be large.
bool appendData(std::string& file, const Bytes& data) {
  const std::unique_ptr<libdeflate_compressor, Free> compressor(libdeflate_alloc_compressor(1));
  if (!compressor) return false;
  const std::size_t lengthAt = file.size();
  file.append(4, '\0').append("IDAT");
  const std::size_t dataAt = file.size();
  file.resize(dataAt + libdeflate_zlib_compress_bound(compressor.get(), data.size()));
  const std::size_t size = libdeflate_zlib_compress(compressor.get(), data.data(), data.size(),
                                                    file.data() + dataAt, file.size() - dataAt);
  if (size == 0) return false;
  file.resize(dataAt + size);
  const auto length = bigEndian(size);
  std::copy(length.begin(), length.end(), file.begin() + static_cast<std::ptrdiff_t>(lengthAt));
  appendChecksum(file, lengthAt + 4);
  return true;
}

}  // namespace

std::optional<std::string> encodedPNG(const Picture& picture) {
  std::string file(kSignature);
  appendChunk(file, "IHDR", header(picture));
  Bytes rows = filtered(picture);
  const bool isWritten = appendData(file, rows);
  wipe(rows.data(), rows.size());
  if (!isWritten) return std::nullopt;
  appendChunk(file, "IEND", {});
  std::string exact(file);
  wipe(file.data(), file.size());
  return exact;
}

}  // namespace veltrane::pictures
