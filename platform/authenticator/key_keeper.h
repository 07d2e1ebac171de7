#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

/// What a sealed key is bound to: the credential that it is the key of.
class KeyContext {
 public:
  KeyContext(std::string_view id, std::string_view rpId) : id_(id), rpId_(rpId) {}
  /// Tells each pair from every other.
  std::string bytes() const;
  /// As keys of the first version are bound, whose id and relying party run into each other.
  std::string formerBytes() const { return id_ + rpId_; }

 private:
  std::string id_;
  std::string rpId_;
};

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
  /// The same `context` is needed to sign.
  virtual PasskeyResult<NewKey> makeKey(int algorithm, const KeyContext& context) = 0;
  /// The signature of `message` as WebAuthn sends it: DER for ES256, 64 bytes for EdDSA.
  virtual PasskeyResult<std::string> sign(int algorithm, std::string_view sealed,
                                          const KeyContext& context, std::string_view message) = 0;
  /// A key that was sealed by a former version, sealed as this one does; any other as it is.
  virtual PasskeyResult<std::string> renewed(int algorithm, std::string_view sealed,
                                             const KeyContext& context) = 0;
};

}  // namespace veltrane::authenticator
