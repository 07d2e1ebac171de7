#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "veltrane/flow/veltrane_flow_error.h"

namespace veltrane {

/// Why a passkey was not made or not used. Each has a name of its own (`code` of the error) and a
/// sentence for a person (its description).
enum class PasskeyFailure : std::uint8_t {
  cancelled,     ///< by the person, or with the screen that asked
  noneFound,     ///< no credential that the server would accept
  rpIdMismatch,  ///< rpId and origin do not belong together
  excluded,      ///< this authenticator already holds one of the account's credentials
  timedOut,
  notSupported,  ///< no algorithm, authenticator or verification of the kind that is asked for
  locked,        ///< too many wrong PINs
  storageFull,
  invalidOptions,  ///< what the server sent cannot be read
  failed,          ///< the authenticator or its store failed otherwise
};

struct PasskeyError {
  PasskeyFailure failure = PasskeyFailure::failed;
  /// What lies beneath, by the name its library gives it ("FIDO_ERR_PIN_BLOCKED"), or which option
  /// could not be read. Never a secret.
  std::string cause = {};
  /// The number of that library's, where there is one.
  std::optional<std::int64_t> causeCode = std::nullopt;
};

template <typename Value>
using PasskeyResult = std::variant<Value, PasskeyError>;

/// As the flow's error: a `veltraneError` with the sentence, `code` the name of the failure
/// ("cancelled"), `details` {"cause", "causeCode"} where known.
VeltraneFlowError toFlowError(const PasskeyError& error);

}  // namespace veltrane
