#pragma once

#include <cstdint>
#include <string>

#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/key_keeper.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {

// What an authenticator does once the person has agreed, apart from asking and storing.

struct Creation {
  Credential credential;
  MadeCredential answer;
};

/// Makes a key for the request and says so as WebAuthn wants it: attestation "packed" by the key
/// itself where the server wants attestation, otherwise "none". Discoverable unless discouraged.
PasskeyResult<Creation> create(KeyKeeper& keeper, int algorithm, const MakeCredential& request,
                               bool isVerified);

/// Signs with a stored credential. `counter`: what is to be told, higher than ever before.
PasskeyResult<Assertion> assertWith(KeyKeeper& keeper, const Credential& credential,
                                    std::uint32_t counter, const GetAssertion& request,
                                    bool isVerified);

}  // namespace veltrane::authenticator
