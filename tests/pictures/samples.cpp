#include "tests/pictures/samples.h"

#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace veltrane::pictures::testing {
namespace {

struct Color {
  char letter;
  std::uint8_t rgba[4];
};
constexpr Color kColors[] = {
    {'R', {255, 0, 0, 255}},     {'G', {0, 255, 0, 255}}, {'B', {0, 0, 255, 255}},
    {'W', {255, 255, 255, 255}}, {'K', {0, 0, 0, 255}},   {'Y', {255, 255, 0, 255}},
    {'.', {0, 0, 0, 0}},
};

char letterOf(const std::uint8_t* pixel) {
  for (const Color& color : kColors) {
    bool fits = true;
    for (int i = 0; i < 4; ++i) fits &= std::abs(pixel[i] - color.rgba[i]) <= 12;
    if (fits) return color.letter;
  }
  return '?';
}

const std::uint8_t* colorOf(char letter) {
  for (const Color& color : kColors) {
    if (color.letter == letter) return color.rgba;
  }
  std::abort();
}

}  // namespace

Picture painted(std::string_view fields, int field) {
  const int columns = static_cast<int>(fields.substr(0, fields.find('/')).size());
  const int rows = (static_cast<int>(fields.size()) + 1) / (columns + 1);
  Picture picture{.size = {columns * field, rows * field}, .isOpaque = true};
  for (int y = 0; y < picture.size.height; ++y) {
    for (int x = 0; x < picture.size.width; ++x) {
      const auto at = static_cast<std::size_t>(y / field * (columns + 1) + x / field);
      const std::uint8_t* color = colorOf(fields[at]);
      picture.pixels.insert(picture.pixels.end(), color, color + 4);
      picture.isOpaque &= color[3] == 255;
    }
  }
  return picture;
}

std::string fieldsOf(const Picture* picture, int field) {
  if (!picture) return "none";
  const PixelSize size = picture->size;
  if (size.width % field != 0 || size.height % field != 0) return "odd size";
  std::string fields;
  for (int y = field / 2; y < size.height; y += field) {
    if (!fields.empty()) fields += '/';
    for (int x = field / 2; x < size.width; x += field) {
      fields += letterOf(&picture->pixels[4 * (static_cast<std::size_t>(y) * size.width + x)]);
    }
  }
  return fields;
}

std::string exif(int orientation, bool isBigEndian) {
  const char value = static_cast<char>(orientation);
  if (isBigEndian) {
    const char data[] = {'M', 'M', 0, 42, 0, 0, 0,     8, 0, 1, 1, 18, 0,
                         3,   0,   0, 0,  1, 0, value, 0, 0, 0, 0, 0,  0};
    return std::string(data, sizeof data);
  }
  const char data[] = {'I', 'I', 42, 0, 8, 0,     0, 0, 1, 0, 18, 1, 3,
                       0,   1,   0,  0, 0, value, 0, 0, 0, 0, 0,  0, 0};
  return std::string(data, sizeof data);
}

std::string pngChunk(const std::string& name, const std::string& data) {
  const auto bigEndian = [](std::size_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
    return bytes;
  };
  const std::string body = name + data;
  const auto checksum =
      crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
  return bigEndian(data.size()) + body + bigEndian(checksum);
}

std::string deflated(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string packed(size, '\0');
  compress(reinterpret_cast<Bytef*>(packed.data()), &size,
           reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  packed.resize(size);
  return packed;
}

std::string seed(const std::string& name) {
  std::ifstream file(SAMPLES + name, std::ios::binary);
  if (!file) throw std::runtime_error("no seed " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Sample> everySample() {
  std::vector<Sample> samples;
  const auto add = [&](const std::string& fields, std::initializer_list<const char*> names) {
    for (const char* name : names) samples.push_back({name, seed(name), fields});
  };
  add("RG/BW/KY", {"PNG-rgb", "PNG-rgb-16-bit", "PNG-palette", "JPEG", "JPEG-progressive",
                   "JPEG-CMYK", "JPEG-CMYK-not-from-Adobe", "JPEG-YCCK", "WebP-lossy",
                   "WebP-animated", "GIF", "GIF-interlaced", "GIF-animated"});
  add("R./BW/KY",
      {"PNG-rgba", "PNG-interlaced", "WebP", "WebP-lossy-with-alpha", "GIF-with-transparency"});
  add("RG/BW/.Y", {"PNG-palette-with-transparency", "PNG-rgb-with-a-transparent-colour"});
  add("KW/WK/KK", {"PNG-grey-1-bit", "PNG-grey-16-bit", "JPEG-grey"});
  add("KW/.K", {"PNG-grey-with-alpha"});
  add(".../.RG", {"GIF-smaller-than-its-canvas"});
  return samples;
}

}  // namespace veltrane::pictures::testing
