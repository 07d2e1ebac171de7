#pragma once

#include <optional>
#include <string>
#include <variant>

#include "veltrane/connectors/jumio.h"
#include "veltrane/connectors/onfido_response.h"

namespace veltrane {
class JSON;
}

namespace veltrane::tool {

/// What a script lets an identity SDK answer.
namespace sdk_outcome {

struct NetverifyFinish {
  std::string scanReference;
};
struct NetverifyCancel {
  std::optional<JumioError> error;
  std::optional<std::string> scanReference;
};
struct AuthenticationReady {};
struct AuthenticationFinish {
  std::string transactionReference;
};
struct AuthenticationFailure {
  JumioError error;
  std::optional<std::string> transactionReference;
};

}  // namespace sdk_outcome

using SDKOutcome = std::variant<sdk_outcome::NetverifyFinish, sdk_outcome::NetverifyCancel,
                                sdk_outcome::AuthenticationReady, sdk_outcome::AuthenticationFinish,
                                sdk_outcome::AuthenticationFailure, OnfidoResponse>;

/// Reads the "outcome" of a command. Throws FieldError.
SDKOutcome readOutcome(const JSON& outcome);

}  // namespace veltrane::tool
