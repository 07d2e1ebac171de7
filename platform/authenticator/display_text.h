#pragma once

#include <string>
#include <string_view>

#include "platform/authenticator/passkey_list.h"

namespace veltrane::authenticator {

/// A server's text as one short line that cannot pass for something else: without control
/// characters and those that turn the direction of writing, at most 64 characters.
std::string displayText(std::string_view text);

/// "Alice (alice@example.com)", or the one of both that there is.
std::string accountText(std::string_view userName, std::string_view displayName);
inline std::string accountText(const PasskeyEntry& entry) {
  return accountText(entry.userName, entry.userDisplayName);
}

}  // namespace veltrane::authenticator
