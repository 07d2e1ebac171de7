#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace veltrane::authenticator {

/// A public key of an algorithm as bare bytes: 0x04, x and y on P-256 for ES256; the 32 bytes of
/// Ed25519 for EdDSA.
struct BareKey {
  int algorithm = 0;
  std::string_view bytes;
};

/// SubjectPublicKeyInfo in DER; empty for an algorithm or length that is not known.
std::string toSPKI(BareKey key);
/// The bare key within; nothing when it is no key of that algorithm in its usual form.
std::optional<BareKey> fromSPKI(int algorithm, std::string_view spki);

}  // namespace veltrane::authenticator
