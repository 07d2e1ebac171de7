#pragma once

#include <optional>
#include <string>

namespace veltrane::sandbox {

/// A picture as it goes over the line or into a document.
struct PictureFile {
  std::string contentType;
  std::string bytes;
};

/// A drawing by the name of its file: "key.png", "key@2x.jpg", "hills-turned@3x.jpg", "key.webp".
/// "-turned" lays a JPEG on its side and says so in its EXIF block. Nothing when there is no such
/// drawing, density (1 to 3) or kind. Drawn once and kept. Any thread.
std::optional<PictureFile> pictureFile(const std::string& name);

/// The QR code of the text as Base64 of a PNG. Throws std::invalid_argument as qrCode() does.
std::string qrPicture(const std::string& text);

}  // namespace veltrane::sandbox
