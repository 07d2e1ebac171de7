#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace veltrane::sandbox {

/// Bytes as text of the URL-safe alphabet, without padding.
std::string base64urlEncoded(std::string_view bytes);

/// The bytes of such a text; nothing when it is none.
std::optional<std::string> base64urlDecoded(std::string_view text);

}  // namespace veltrane::sandbox
