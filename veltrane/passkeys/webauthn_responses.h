#pragma once

#include <string>
#include <string_view>

#include "veltrane/base/json.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane {

/// `RegistrationResponseJSON` of WebAuthn Level 3. `attachment`: the authenticator's.
JSON registrationResponse(const MadeCredential& made, std::string_view clientDataJSON,
                          const std::string& attachment, bool tellsProperties);

/// `AuthenticationResponseJSON` of WebAuthn Level 3.
JSON authenticationResponse(const Assertion& assertion, std::string_view clientDataJSON,
                            const std::string& attachment);

}  // namespace veltrane
