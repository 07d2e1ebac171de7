#include "platform/authenticator/openssl_error.h"

#include <openssl/err.h>

#include <string>

namespace veltrane::authenticator {

PasskeyError opensslError(std::string_view act) {
  const unsigned long code = ERR_peek_last_error();
  ERR_clear_error();
  const char* reason = ERR_reason_error_string(code);
  PasskeyError error{.cause = "OpenSSL could not " + std::string(act)};
  if (reason != nullptr) error.cause += ": " + std::string(reason);
  if (code != 0) error.causeCode = static_cast<std::int64_t>(code);
  return error;
}

}  // namespace veltrane::authenticator
