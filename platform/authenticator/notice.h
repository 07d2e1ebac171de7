#pragma once

#include <optional>

#include "veltrane/passkeys/passkey_failure.h"
#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane::authenticator {

/// What the person reads before a request ends in this failure. Nothing where they know already, or
/// where there is nothing to know but the flow's own words.
std::optional<PasskeyQuestion> noticeOf(const PasskeyError& error);

}  // namespace veltrane::authenticator
