#pragma once

#include <string>
#include <string_view>

namespace veltrane {

/// The client data that an authenticator signs, serialised as WebAuthn Level 3 prescribes
/// (5.8.1.1), so that verifiers that compare text accept it too. `type`: "webauthn.create" or
/// "webauthn.get"; `challenge`: its bytes; `origin`: serialised.
std::string serializedClientData(std::string_view type, std::string_view challenge,
                                 std::string_view origin);

}  // namespace veltrane
