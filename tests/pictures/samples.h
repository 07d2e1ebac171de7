#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures::testing {

/// A picture as text: rows of colour fields, "RG/BW/KY" being two fields wide and three high. Each
/// letter is a field of kField pixels a side: red, green, blue, white, black (K), yellow; a dot is
/// transparent.
constexpr int kField = 16;
constexpr std::string_view kFields = "RG/BW/KY";

Picture painted(std::string_view fields, int field = kField);
/// The fields of a picture, told by the pixel in the middle of each; a question mark for a colour
/// that is none of the above. "none" for no picture, "odd size" when no fields fit it.
std::string fieldsOf(const Picture* picture, int field = kField);

/// EXIF data that says nothing but the orientation.
std::string exif(int orientation, bool isBigEndian = false);

enum class Kind : std::uint8_t { grey1, grey16, greyAlpha, palette, rgb, rgb16, rgba };

struct PNGOptions {
  Kind kind = Kind::rgba;
  bool isInterlaced = false;
  /// Says which colour, or which of the palette's, is transparent: what is black.
  bool hasTransparentBlack = false;
  std::string exif;
  /// What a text chunk unpacks to: this many equal letters.
  std::size_t text = 0;
};
std::string asPNG(const Picture& picture, const PNGOptions& options = {});

enum class Inks : std::uint8_t { rgb, grey, cmyk, cmykWithoutAdobe, ycck };

struct JPEGOptions {
  Inks inks = Inks::rgb;
  bool isProgressive = false;
  std::string exif;
};
std::string asJPEG(const Picture& picture, const JPEGOptions& options = {});

struct WebPOptions {
  bool isLossy = false;
  bool isAnimated = false;
  std::string exif;
};
std::string asWebP(const Picture& picture, const WebPOptions& options = {});

struct GIFOptions {
  bool isInterlaced = false;
  bool isAnimated = false;
  /// Fields of canvas above and to the left of the picture.
  int margin = 0;
};
std::string asGIF(const Picture& picture, const GIFOptions& options = {});

struct Sample {
  const char* name;
  std::string bytes;
  std::string fields;
};
/// Every format and variant that is to be read.
std::vector<Sample> everySample();

}  // namespace veltrane::pictures::testing
