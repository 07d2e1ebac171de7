#pragma once

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::fido2 {

/// A FIDO_ERR_* as a failure, its name and number kept as the cause.
PasskeyError keyFailure(int code);

}  // namespace veltrane::fido2
