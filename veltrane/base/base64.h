#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace veltrane {

/// Standard Base64 with padding, without line breaks (RFC 4648, section 4).
std::string base64Encoded(std::span<const std::uint8_t> bytes);

/// Characters of the Base64 text of so many bytes.
constexpr std::size_t base64EncodedLength(std::size_t count) {
  return (count + 2) / 3 * 4;
}

/// As `base64Encoded`, into memory of the caller's of `base64EncodedLength` characters.
void base64Encode(std::span<const std::uint8_t> bytes, char* text);

/// The URL-safe alphabet without padding (RFC 4648, section 5).
std::string base64URLEncoded(std::string_view bytes);

/// The bytes of Base64 text of either alphabet, padded or not. Nothing when any other character is
/// in it or its length fits no bytes.
std::optional<std::string> base64URLDecoded(std::string_view text);

/// The bytes of standard Base64 text. Characters outside the alphabet (line breaks, blanks) are
/// skipped; nothing when the padding is missing, too long or followed by more text.
std::optional<std::string> base64Decoded(std::string_view text);

/// Bytes that `base64Decode` may write for a text of this length.
constexpr std::size_t base64DecodedRoom(std::size_t length) {
  return length / 4 * 3 + 3;
}

/// As `base64Decoded`, into memory of the caller's of at least `base64DecodedRoom` bytes; answers
/// how many of them count.
std::optional<std::size_t> base64Decode(std::string_view text, std::span<std::uint8_t> bytes);

}  // namespace veltrane
