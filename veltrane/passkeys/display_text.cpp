#include "veltrane/passkeys/display_text.h"

#include <algorithm>
#include <cstdint>

namespace veltrane {
namespace {

/// Bytes of the code point at the start of `text`; 0 where it is ill-formed.
std::size_t lengthAt(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length > text.size()) return 0;
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  return std::ranges::all_of(text.substr(std::min<std::size_t>(length, 1), length - (length > 0)),
                             continues)
             ? length
             : 0;
}

/// Control characters (U+0000 to U+001F, U+007F to U+009F); line and paragraph separators; marks,
/// embeddings, overrides and isolates of direction.
bool isHidden(std::string_view character) {
  if (character.size() == 1) return character[0] < ' ' || character[0] == '\x7f';
  if (character.size() == 2) return character >= "\u0080" && character <= "\u009f";
  return (character >= "\u200b" && character <= "\u200f") ||
         (character >= "\u2028" && character <= "\u202e") ||
         (character >= "\u2060" && character <= "\u206f") || character == "\ufeff";
}

}  // namespace

std::string displayText(std::string_view text, std::size_t most) {
  std::string shown;
  std::size_t count = 0;
  while (!text.empty()) {
    const std::size_t length = lengthAt(text);
    const auto character = text.substr(0, std::max<std::size_t>(length, 1));
    text.remove_prefix(character.size());
    if (length > 0 && isHidden(character)) continue;
    if (++count > most) return shown.append("…");
    shown.append(length > 0 ? character : "\ufffd");
  }
  return shown;
}

std::string accountText(std::string_view userName, std::string_view displayName) {
  const std::string name = displayText(userName);
  const std::string display = displayText(displayName);
  if (name.empty() || display.empty() || name == display) return name.empty() ? display : name;
  return display + " (" + name + ")";
}

}  // namespace veltrane
