#pragma once

#include <cstdint>
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

/// A PNG chunk with its checksum.
std::string pngChunk(const std::string& name, const std::string& data);
/// `bytes` as zlib packs them.
std::string deflated(const std::string& bytes);

/// A picture among the fuzzer's seeds, as the format's own library wrote it.
std::string seed(const std::string& name);

struct Sample {
  std::string name;
  std::string bytes;
  std::string fields;
};
/// Every format and variant that is to be read.
std::vector<Sample> everySample();

}  // namespace veltrane::pictures::testing
