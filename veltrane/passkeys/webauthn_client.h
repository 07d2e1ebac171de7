#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/engine/credentials_manager.h"
#include "veltrane/passkeys/authenticator.h"
#include "veltrane/passkeys/relying_party_id.h"

namespace veltrane {

class PasskeyPresenter;
class PasskeySheet;

/// Passkeys by the rules of a WebAuthn client: reads the server's options, holds rpId against the
/// origin, lets one of the authenticators answer within the time-out, and writes the standard's
/// JSON. Main thread only; the callback comes once, on the main queue, never inside the call. One
/// request at a time; destroying the client cancels it in silence and takes its sheet away.
class WebAuthnClient final : public CredentialsManager {
 public:
  struct Parts {
    /// Called at the first request. The ones to prefer come first.
    std::function<std::vector<std::shared_ptr<Authenticator>>()> authenticators;
    std::shared_ptr<PasskeyPresenter> presenter;
    std::shared_ptr<const PublicSuffixes> suffixes;
  };

  explicit WebAuthnClient(Parts parts);
  ~WebAuthnClient() override;

  /// `modality` is not used: which authenticators may answer is said by the options.
  void credentialsCreate(const std::string& rpId, const std::string& origin, int modality,
                         const JSON& json, Callback callback) override;
  void credentialsGet(const std::string& rpId, const std::string& origin, const JSON& json,
                      Callback callback) override;

 private:
  struct Request;
  struct Caller {
    const std::string& rpId;
    const std::string& origin;
  };

  /// The request that runs from now on; null when another runs, and the caller was told so.
  std::shared_ptr<Request> begin(Callback callback);
  /// Why caller and server cannot have a passkey together; `rpId`: the server's, made the one used.
  std::optional<PasskeyError> agree(const Caller& caller, std::string& rpId) const;

  Parts parts_;
  std::shared_ptr<Request> running_;
};

/// For `Platform::makeCredentialsManager`: clients that share the authenticators, which are made at
/// the first request of the first.
std::function<std::shared_ptr<CredentialsManager>()> makeWebAuthnClients(
    WebAuthnClient::Parts parts);

}  // namespace veltrane
