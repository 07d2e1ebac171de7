#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>

#include "apps/sandbox/passkeys/response_checks.h"

namespace veltrane::sandbox {

/// Holds the answer to request options to what they asked for, its signature by libfido2; the
/// signature counter it brings. Throws Refusal.
std::uint32_t checkedAssertion(const nlohmann::json& response, const Expectation& expected,
                               const PublicKey& key);

}  // namespace veltrane::sandbox
