#include "tests/pictures/samples.h"

#include <cstdlib>
#include <cstring>

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

std::vector<Sample> everySample() {
  const Picture plain = painted(kFields);
  const Picture holed = painted("R./BW/KY");
  const Picture grey = painted("KW/WK/KK");
  const std::string fields(kFields);
  return {
      {"PNG rgb", asPNG(plain, {.kind = Kind::rgb}), fields},
      {"PNG rgb 16 bit", asPNG(plain, {.kind = Kind::rgb16}), fields},
      {"PNG rgba", asPNG(holed), "R./BW/KY"},
      {"PNG interlaced", asPNG(holed, {.isInterlaced = true}), "R./BW/KY"},
      {"PNG palette", asPNG(plain, {.kind = Kind::palette}), fields},
      {"PNG palette with transparency",
       asPNG(plain, {.kind = Kind::palette, .hasTransparentBlack = true}), "RG/BW/.Y"},
      {"PNG rgb with a transparent colour",
       asPNG(plain, {.kind = Kind::rgb, .hasTransparentBlack = true}), "RG/BW/.Y"},
      {"PNG grey 1 bit", asPNG(grey, {.kind = Kind::grey1}), "KW/WK/KK"},
      {"PNG grey 16 bit", asPNG(grey, {.kind = Kind::grey16}), "KW/WK/KK"},
      {"PNG grey with alpha", asPNG(painted("KW/.K"), {.kind = Kind::greyAlpha}), "KW/.K"},
      {"JPEG", asJPEG(plain), fields},
      {"JPEG progressive", asJPEG(plain, {.isProgressive = true}), fields},
      {"JPEG grey", asJPEG(grey, {.inks = Inks::grey}), "KW/WK/KK"},
      {"JPEG CMYK", asJPEG(plain, {.inks = Inks::cmyk}), fields},
      {"JPEG CMYK not from Adobe", asJPEG(plain, {.inks = Inks::cmykWithoutAdobe}), fields},
      {"JPEG YCCK", asJPEG(plain, {.inks = Inks::ycck}), fields},
      {"WebP", asWebP(holed), "R./BW/KY"},
      {"WebP lossy", asWebP(plain, {.isLossy = true}), fields},
      {"WebP lossy with alpha", asWebP(holed, {.isLossy = true}), "R./BW/KY"},
      {"WebP animated", asWebP(plain, {.isAnimated = true}), fields},
      {"GIF", asGIF(plain), fields},
      {"GIF with transparency", asGIF(holed), "R./BW/KY"},
      {"GIF interlaced", asGIF(plain, {.isInterlaced = true}), fields},
      {"GIF animated", asGIF(plain, {.isAnimated = true}), fields},
      {"GIF smaller than its canvas", asGIF(painted("RG"), {.margin = 1}), ".../.RG"},
  };
}

}  // namespace veltrane::pictures::testing
