#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "apps/sandbox/passkeys/response_checks.h"

namespace veltrane::sandbox {

/// What a right answer to creation options brings.
struct Registration {
  std::string id;
  PublicKey key;
  std::uint32_t counter = 0;
};

/// Holds the answer to creation options to what they asked for. Attestation may be "none", or a
/// statement whose signature libfido2 can verify; nobody's roots are asked who made the
/// authenticator. `algorithms`: those the options offered. Throws Refusal.
Registration checkedRegistration(const nlohmann::json& response, const Expectation& expected,
                                 const std::vector<int>& algorithms);

}  // namespace veltrane::sandbox
