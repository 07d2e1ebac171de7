#pragma once

#include <string>

#include "apps/vtflow/doctor/finding.h"

namespace veltrane {
class PublicSuffixes;
}

namespace veltrane::tool {

/// Whether a host at this origin may use this rpId.
Finding judgeRelyingParty(const std::string& rpId, const std::string& origin,
                          const PublicSuffixes& suffixes);

/// The security keys that are plugged in, or that none is; none is touched.
Findings findSecurityKeys();

/// What of this machine can keep the keys of its own passkeys, and last what does.
Findings findKeyKeepers();

}  // namespace veltrane::tool
