#pragma once

#include <memory>

#include "veltrane/passkeys/relying_party_id.h"

namespace veltrane::publicsuffix {

/// The public suffix list as libpsl has it: the newest of the system's file and the one built in.
/// Read at the first question.
std::shared_ptr<const PublicSuffixes> make();

}  // namespace veltrane::publicsuffix
