#pragma once

#include <string>
#include <string_view>

namespace veltrane {

/// A colour, channels from 0 to 1, not premultiplied.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  /// From "RGB", "RGBA", "RRGGBB" or "RRGGBBAA", with or without "#" and white space around it.
  /// Never fails: what cannot be read is opaque black, and a console line says why.
  static Color fromHex(std::string_view text);

  /// "#rrggbbaa", each channel rounded to 8 bits.
  std::string hex() const;

  friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace veltrane
