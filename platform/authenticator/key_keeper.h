#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

/// Makes the private keys of credentials and signs with them, and seals them so that a copy of the
/// store is worth nothing without what this machine, or the person, keeps.
///
/// Used by one thread at a time, the authenticator's own; calls may block.
class KeyKeeper {
 public:
  struct NewKey {
    /// Goes into the store; of use to this keeper alone.
    std::string sealed;
    /// SubjectPublicKeyInfo, DER.
    std::string publicKey;
  };

  virtual ~KeyKeeper() = default;
  /// Stored with each credential, so that the keeper that made it is asked again: "tpm",
  /// "secret-service", "passphrase".
  virtual std::string name() const = 0;
  /// COSE identifiers, best first.
  virtual std::vector<int> algorithms() const = 0;
  /// `context`: bytes that the sealed key is bound to (the credential's id and relying party); the
  /// same ones are needed to sign.
  virtual PasskeyResult<NewKey> makeKey(int algorithm, std::string_view context) = 0;
  /// The signature of `message` as WebAuthn sends it: DER for ES256, 64 bytes for EdDSA.
  virtual PasskeyResult<std::string> sign(int algorithm, std::string_view sealed,
                                          std::string_view context, std::string_view message) = 0;
};

}  // namespace veltrane::authenticator
