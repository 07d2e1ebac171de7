#include "veltrane/base/base64.h"

namespace veltrane {

std::string base64Encoded(std::span<const std::uint8_t> bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t at = 0;
  const auto byte = [&](std::size_t offset) -> std::uint32_t {
    return at + offset < bytes.size() ? bytes[at + offset] : 0;
  };
  for (; at < bytes.size(); at += 3) {
    const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
    text += kAlphabet[group >> 18];
    text += kAlphabet[group >> 12 & 63];
    text += at + 1 < bytes.size() ? kAlphabet[group >> 6 & 63] : '=';
    text += at + 2 < bytes.size() ? kAlphabet[group & 63] : '=';
  }
  return text;
}

}  // namespace veltrane
