#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace veltrane {

/// Standard Base64 with padding, without line breaks (RFC 4648, section 4).
std::string base64Encoded(std::span<const std::uint8_t> bytes);

}  // namespace veltrane
