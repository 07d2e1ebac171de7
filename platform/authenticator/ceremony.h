#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/key_keepers.h"
#include "platform/authenticator/pin.h"
#include "platform/authenticator/platform_authenticator.h"
#include "platform/authenticator/signing.h"
#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane::authenticator {

class Conversation;

/// What all requests share.
struct AuthenticatorState {
  explicit AuthenticatorState(PlatformAuthenticatorOptions options)
      : store(options.file),
        pin(store, options.cost),
        keepers(std::move(options.keepers), store, options.cost, options.file.parent_path()) {}

  CredentialStore store;
  Pin pin;
  KeyKeepers keepers;
};

/// The steps of one request, one after another, on the authenticator's thread.
class Ceremony {
 public:
  Ceremony(AuthenticatorState& state, Conversation& conversation)
      : state_(state), conversation_(conversation) {}

  /// The credential is stored when this returns. One that it takes the place of is too, until
  /// `settle`.
  PasskeyResult<Creation> make(const MakeCredential& request);
  PasskeyResult<Assertion> get(const GetAssertion& request);

  /// After an answer that was heard, and one that was not.
  void settle(const Credential& made);
  void undo(const Credential& made);

 private:
  std::optional<PasskeyError> refusal();
  PasskeyResult<PasskeyAnswer> consent(const MakeCredential& request);
  PasskeyResult<bool> holdsOne(const std::string& rpId, const std::vector<std::string>& ids);
  PasskeyResult<bool> verified(Requirement requirement);
  PasskeyResult<Credential> choose(const GetAssertion& request);
  PasskeyResult<Assertion> sign(const Credential& credential, const GetAssertion& request,
                                bool isVerified);
  void renew(KeyKeeper& keeper, const Credential& credential);

  AuthenticatorState& state_;
  Conversation& conversation_;
};

}  // namespace veltrane::authenticator
