#pragma once

#include <optional>
#include <string>

#include "apps/vtflow/doctor/finding.h"

namespace veltrane {
class PublicSuffixes;
}

namespace veltrane::tool {

/// Whether a host at this origin may use this rpId. Of one alone, whether the other can be its own:
/// the domain's at HTTPS, the origin's host. Neither: "localhost".
Finding judgeRelyingParty(const std::optional<std::string>& rpId,
                          const std::optional<std::string>& origin, const PublicSuffixes& suffixes);

/// The security keys that are plugged in, or that none is; none is touched.
Findings findSecurityKeys();

/// What of this machine can keep the keys of its own passkeys, and last what does.
Findings findKeyKeepers();

}  // namespace veltrane::tool
