#include "veltrane/engine/cell_properties.h"

#include <array>
#include <utility>

namespace veltrane {
namespace {

template <typename Value, std::size_t size>
using Words = std::array<std::pair<std::string_view, Value>, size>;

constexpr Words<CellType, 7> kCellTypes = {{
    {"label", CellType::label},
    {"image", CellType::image},
    {"button", CellType::button},
    {"textField", CellType::textField},
    {"showPoweredBy", CellType::showPoweredBy},
    {"toggleSwitch", CellType::toggleSwitch},
    {"dropdown", CellType::dropdown},
}};

constexpr Words<CellValueKind, 3> kValueKinds = {{
    {"string", CellValueKind::string},
    {"pngBase64Image", CellValueKind::pngBase64Image},
    {"pngURLImage", CellValueKind::pngURLImage},
}};

constexpr Words<KeyboardType, 8> kKeyboardTypes = {{
    {"numbersAndPunctuation", KeyboardType::numbersAndPunctuation},
    {"numberPad", KeyboardType::numberPad},
    {"decimalPad", KeyboardType::decimalPad},
    {"phonePad", KeyboardType::phonePad},
    {"url", KeyboardType::url},
    {"emailAddress", KeyboardType::emailAddress},
    {"asciiCapable", KeyboardType::asciiCapable},
    {"asciiCapableNumberPad", KeyboardType::asciiCapableNumberPad},
}};

constexpr Words<ContentMode, 4> kContentModes = {{
    {"aspectFit", ContentMode::aspectFit},
    {"aspectFill", ContentMode::aspectFill},
    {"center", ContentMode::center},
    {"scaleToFill", ContentMode::scaleToFill},
}};

template <typename Value, std::size_t size>
std::optional<Value> valueOf(const Words<Value, size>& words, std::string_view wanted) {
  for (const auto& [word, value] : words) {
    if (word == wanted) return value;
  }
  return std::nullopt;
}

template <typename Value, std::size_t size>
std::string_view wordOf(const Words<Value, size>& words, Value wanted) {
  for (const auto& [word, value] : words) {
    if (value == wanted) return word;
  }
  return {};
}

}  // namespace

std::string_view name(CellType type) {
  return wordOf(kCellTypes, type);
}

std::string_view rawValue(CellValueKind kind) {
  return wordOf(kValueKinds, kind);
}
std::optional<CellValueKind> cellValueKind(std::string_view raw) {
  return valueOf(kValueKinds, raw);
}

bool CellProperties::isSecret() const {
  return type == CellType::textField && props && (*props)["hashedVisibility"].boolean() == true;
}

std::optional<KeyboardType> keyboardType(std::string_view text) {
  return valueOf(kKeyboardTypes, text);
}
std::string_view word(KeyboardType type) {
  return wordOf(kKeyboardTypes, type);
}

std::optional<ContentMode> contentMode(std::string_view text) {
  return valueOf(kContentModes, text);
}
std::string_view word(ContentMode mode) {
  return wordOf(kContentModes, mode);
}

}  // namespace veltrane
