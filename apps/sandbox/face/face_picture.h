#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace veltrane::sandbox {

/// The longer side of a picture of a face has at most this many pixels.
inline constexpr unsigned kLongestSideOfFace = 1000;

/// A picture of a face as a capture screen sends it.
struct FacePicture {
  std::string png;
  unsigned width = 0;
  unsigned height = 0;
};

/// Holds an "imageData" to its form: standard Base64 in one line, encoded once, of a PNG whose
/// longer side is no longer than allowed, with red, green and blue of 8 bits, and with nothing in
/// it but the picture: no chunk may tell when, where or by what it was taken. Every pixel is
/// decoded. Throws Refusal.
FacePicture checkedFacePicture(const nlohmann::json& imageData);

}  // namespace veltrane::sandbox
