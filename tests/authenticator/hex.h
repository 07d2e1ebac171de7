#pragma once

#include <string>
#include <string_view>

namespace veltrane::authenticator::testing {

inline std::string toHex(std::string_view bytes) {
  std::string hex;
  for (const unsigned char byte : bytes) {
    hex += "0123456789abcdef"[byte >> 4];
    hex += "0123456789abcdef"[byte & 15];
  }
  return hex;
}

inline std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

}  // namespace veltrane::authenticator::testing
