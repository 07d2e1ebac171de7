#pragma once

#include <string>
#include <vector>

#include "platform/authenticator/passkey_list.h"

namespace veltrane::tool {

/// A passkey's id as a command line takes it: hexadecimal.
std::string idText(const authenticator::PasskeyEntry& entry);

/// "alice at example.com", whatever characters a server has put there.
std::string ownerText(const authenticator::PasskeyEntry& entry);

/// A line of the list: when it was made, whose it is, what keeps it, how often it has signed, id.
std::string lineOf(const authenticator::PasskeyEntry& entry);

/// Those whose ids begin like that, in either case of letters.
std::vector<authenticator::PasskeyEntry> withId(
    const std::vector<authenticator::PasskeyEntry>& entries, const std::string& start);

}  // namespace veltrane::tool
