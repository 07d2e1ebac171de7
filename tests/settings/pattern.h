#pragma once

#include <string>
#include <string_view>

namespace veltrane::sqlite {

/// A long text that only the one who knows key and round can write: a half-written, mixed or older
/// one differs.
inline std::string pattern(std::string_view key, int round) {
  std::string text = std::string(key) + ":" + std::to_string(round) + ":";
  while (text.size() < 20000)
    text += text.substr(0, 97) + static_cast<char>('a' + text.size() % 23);
  return text;
}

}  // namespace veltrane::sqlite
