#include "veltrane/passkeys/client_data.h"

#include "veltrane/base/base64.h"

namespace veltrane {
namespace {

std::string quoted(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += {'\\', c};
    } else if (byte < 0x20) {
      result += {'\\', 'u', '0', '0', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    } else {
      result += c;
    }
  }
  return result + '"';
}

}  // namespace

std::string serializedClientData(std::string_view type, std::string_view challenge,
                                 std::string_view origin) {
  return R"({"type":)" + quoted(type) + R"(,"challenge":)" + quoted(base64URLEncoded(challenge)) +
         R"(,"origin":)" + quoted(origin) + R"(,"crossOrigin":false})";
}

}  // namespace veltrane
