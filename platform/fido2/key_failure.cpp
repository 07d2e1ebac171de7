#include "platform/fido2/key_failure.h"

#include <fido.h>

namespace veltrane::fido2 {
namespace {

PasskeyFailure kindOf(int code) {
  switch (code) {
    case FIDO_ERR_CREDENTIAL_EXCLUDED:
      return PasskeyFailure::excluded;
    case FIDO_ERR_NO_CREDENTIALS:
    case FIDO_ERR_INVALID_CREDENTIAL:
      return PasskeyFailure::noneFound;
    case FIDO_ERR_KEY_STORE_FULL:
      return PasskeyFailure::storageFull;
    case FIDO_ERR_PIN_BLOCKED:
    case FIDO_ERR_PIN_AUTH_BLOCKED:
    case FIDO_ERR_UV_BLOCKED:
      return PasskeyFailure::locked;
    case FIDO_ERR_TIMEOUT:
    case FIDO_ERR_USER_ACTION_TIMEOUT:
    case FIDO_ERR_ACTION_TIMEOUT:
      return PasskeyFailure::timedOut;
    case FIDO_ERR_KEEPALIVE_CANCEL:
    case FIDO_ERR_OPERATION_DENIED:
      return PasskeyFailure::cancelled;
    case FIDO_ERR_UNSUPPORTED_ALGORITHM:
    case FIDO_ERR_UNSUPPORTED_OPTION:
    case FIDO_ERR_INVALID_OPTION:
    case FIDO_ERR_INVALID_COMMAND:
    case FIDO_ERR_PIN_NOT_SET:
    case FIDO_ERR_PIN_REQUIRED:
      return PasskeyFailure::notSupported;
    default:
      return PasskeyFailure::failed;
  }
}

}  // namespace

PasskeyError keyFailure(int code) {
  return {.failure = kindOf(code), .cause = fido_strerr(code), .causeCode = code};
}

}  // namespace veltrane::fido2
