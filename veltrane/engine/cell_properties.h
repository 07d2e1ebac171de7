#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/base/json.h"
#include "veltrane/toolkit/controls.h"

namespace veltrane {

/// The kinds of row.
enum class CellType : std::uint8_t {
  label,
  image,
  button,
  textField,
  showPoweredBy,
  toggleSwitch,
  dropdown,
};

/// The case's name ("textField").
std::string_view name(CellType type);

/// How to read the value of an image row.
enum class CellValueKind : std::uint8_t { string, pngBase64Image, pngURLImage };

std::string_view rawValue(CellValueKind kind);
std::optional<CellValueKind> cellValueKind(std::string_view rawValue);

/// One row of a screen, as the server described it.
struct CellProperties {
  /// What the row shows or holds: a text, a switch's boolean, a picture's data or URL.
  JSON value = {};
  CellType type = CellType::label;
  std::optional<CellValueKind> kind = std::nullopt;
  /// The server's attributes of the component.
  std::optional<JSON> props = std::nullopt;
  /// The name under which an input row's value goes to the server.
  std::optional<std::string> key = std::nullopt;

  /// A text field whose entry is masked.
  bool isSecret() const;
};

/// The server's words for keyboards and content modes. Exact; nothing for any other text.
std::optional<KeyboardType> keyboardType(std::string_view word);
std::string_view word(KeyboardType type);
std::optional<ContentMode> contentMode(std::string_view word);
std::string_view word(ContentMode mode);

}  // namespace veltrane
