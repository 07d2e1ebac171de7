#pragma once

#include <string>
#include <string_view>

#include "platform/authenticator/openssl_error.h"
#include "veltrane/base/secret.h"
#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

/// A key pair of ES256 or EdDSA as bytes, to be sealed, and how to sign with it.
struct SigningKey {
  /// The private key's 32 bytes and, for Ed25519, the public key's 32, which signing needs.
  Secret plain;
  /// SubjectPublicKeyInfo.
  std::string publicKey;
};

/// Makes key pairs one after another; not for several threads at once.
class SigningKeyMaker {
 public:
  PasskeyResult<SigningKey> make(int algorithm);

 private:
  PasskeyResult<SigningKey> makeES256();
  PasskeyResult<SigningKey> makeEdDSA();
  /// Kept, since setting one up costs more than making a key.
  KeyContextPtr p256_;
};

/// DER for ES256, 64 bytes for EdDSA.
PasskeyResult<std::string> signWith(const Secret& plain, int algorithm, std::string_view message);

}  // namespace veltrane::authenticator
