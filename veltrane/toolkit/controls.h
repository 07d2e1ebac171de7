#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "veltrane/toolkit/color.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane {

// Plain structs that say what to draw. An empty optional means that nothing has set the value and
// the front end's default holds. Lengths are points.

struct Font {
  double size = 14.0;
  bool bold = false;

  friend bool operator==(const Font&, const Font&) = default;
};

enum class TextAlignment : std::uint8_t { left, center, right };

struct Label {
  std::optional<std::string> text;
  std::optional<Color> textColor;
  Font font;
  std::optional<TextAlignment> alignment;
};

struct Button {
  std::string title;
  std::optional<Color> titleColor;
  std::optional<Color> backgroundColor;
  double cornerRadius = 0;
  double borderWidth = 0;
  std::optional<Color> borderColor;
};

/// Numeric values are the platform's own.
enum class KeyboardType : std::uint8_t {
  asciiCapable = 1,
  numbersAndPunctuation = 2,
  url = 3,
  numberPad = 4,
  phonePad = 5,
  emailAddress = 7,
  decimalPad = 8,
  asciiCapableNumberPad = 11,
};

struct TextField {
  std::string text;
  std::optional<std::string> placeholder;
  std::optional<KeyboardType> keyboardType;
  bool isSecureTextEntry = false;
};

struct Switch {
  bool isOn = false;
  std::optional<Color> onTintColor;
};

/// Numeric values are the platform's own.
enum class ContentMode : std::uint8_t {
  scaleToFill = 0,
  aspectFit = 1,
  aspectFill = 2,
  center = 4
};

struct ImageView {
  /// Null while there is none.
  PicturePtr image;
  /// Pixels of the picture a point, where it is drawn at its own size.
  double scale = 1;
  std::optional<ContentMode> contentMode;
};

struct EdgeInsets {
  double top = 0;
  double left = 0;
  double bottom = 0;
  double right = 0;

  friend bool operator==(const EdgeInsets&, const EdgeInsets&) = default;
};

/// The panel that says that something is under way.
struct ActivityPanel {
  bool isHidden = true;
  double side = 80;
  double cornerRadius = 8;
  double alpha = 0.8;
};

}  // namespace veltrane
