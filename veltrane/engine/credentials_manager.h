#pragma once

#include <functional>
#include <optional>
#include <string>

#include "veltrane/base/json.h"
#include "veltrane/flow/veltrane_flow_error.h"

namespace veltrane {

/// Port: registers and uses FIDO2/WebAuthn credentials. One object a screen.
///
/// Called on the main thread. The callback runs at most once, on any thread; it delivers a result
/// (an object), an error, or neither. Destroying the object ends what it still does in silence.
class CredentialsManager {
 public:
  using Callback =
      std::function<void(std::optional<JSON> result, std::optional<VeltraneFlowError> error)>;

  virtual ~CredentialsManager() = default;
  /// Registers a credential. `json` is the server's answer, which holds "challenge". The result
  /// holds "createCredResponse".
  virtual void credentialsCreate(const std::string& rpId, const std::string& origin, int modality,
                                 const JSON& json, Callback callback) = 0;
  /// Signs a challenge with a registered credential. `json` holds the request options.
  virtual void credentialsGet(const std::string& rpId, const std::string& origin, const JSON& json,
                              Callback callback) = 0;
};

}  // namespace veltrane
