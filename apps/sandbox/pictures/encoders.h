#pragma once

#include <string>

#include "apps/sandbox/pictures/bitmap.h"

namespace veltrane::sandbox {

// Pictures as the bytes of a file. All throw std::runtime_error when the library behind them fails.

std::string png(const Bitmap& bitmap);

/// Transparent pixels become white.
std::string jpeg(const Bitmap& bitmap);

/// A JPEG whose pixels lie on their side, with an EXIF orientation that puts them upright again.
std::string turnedJpeg(const Bitmap& bitmap);

std::string webp(const Bitmap& bitmap);

/// A PNG file that claims to be of that size and holds next to nothing.
std::string pngThatClaims(unsigned width, unsigned height);

/// The QR code of the text, black on white with the quiet zone of four modules, 6 pixels a module.
/// Throws std::invalid_argument when the text is empty or too long for a code.
Bitmap qrCode(const std::string& text);

std::string base64(const std::string& bytes);

}  // namespace veltrane::sandbox
