#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace veltrane {

/// A server's text as one short line that cannot pass for something else: without control
/// characters and those that turn the direction of writing, cut after `most` characters.
std::string displayText(std::string_view text, std::size_t most = 64);

/// A relying party's id, whole whatever its length: whose it is stands at its end.
inline std::string relyingPartyText(std::string_view rpId) {
  constexpr std::size_t kLongestDomain = 253;
  return displayText(rpId, kLongestDomain);
}

/// "Alice (alice@example.com)", or the one of both that there is.
std::string accountText(std::string_view userName, std::string_view displayName);

}  // namespace veltrane
