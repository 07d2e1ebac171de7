#include "veltrane/toolkit/color.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "veltrane/base/console.h"
#include "veltrane/base/text.h"

namespace veltrane {
namespace {

/// The hexadecimal number at the start of the text, saturated at 64 bits.
std::optional<std::uint64_t> scanHex(std::string_view text) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error == std::errc::result_out_of_range) return std::numeric_limits<std::uint64_t>::max();
  if (error != std::errc()) return std::nullopt;
  return value;
}

/// Four bits a channel, or eight.
Color fromChannels(std::uint64_t value, int bits, bool withAlpha) {
  const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
  const auto channel = [&](int fromLast) {
    return static_cast<double>(value >> (fromLast * bits) & mask) / static_cast<double>(mask);
  };
  if (withAlpha) return {channel(3), channel(2), channel(1), channel(0)};
  return {channel(2), channel(1), channel(0), 1.0};
}

}  // namespace

Color Color::fromHex(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('#')) text.remove_prefix(1);
  const auto value = scanHex(text);
  if (!value) {
    console::print("Scan hex error");
    return {};
  }
  switch (codePointCount(text)) {
    case 3:
      return fromChannels(*value, 4, false);
    case 4:
      return fromChannels(*value, 4, true);
    case 6:
      return fromChannels(*value, 8, false);
    case 8:
      return fromChannels(*value, 8, true);
    default:
      console::print(
          "Invalid RGB string, number of characters after '#' should be either 3, 4, 6 or 8");
      return {};
  }
}

std::string Color::hex() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "#";
  for (const double channel : {red, green, blue, alpha}) {
    const auto byte = static_cast<unsigned>(std::lround(std::clamp(channel, 0.0, 1.0) * 255));
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace veltrane
