#include "apps/sandbox/random_id.h"

#include <openssl/rand.h>

#include <array>
#include <cstddef>
#include <stdexcept>

namespace veltrane::sandbox {

std::string randomId() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random numbers");
  }
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::string id;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) id += '-';
    id += "0123456789abcdef"[bytes[i] >> 4];
    id += "0123456789abcdef"[bytes[i] & 0x0F];
  }
  return id;
}

}  // namespace veltrane::sandbox
