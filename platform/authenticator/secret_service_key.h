#pragma once

#include <chrono>
#include <string>

#include "veltrane/base/secret.h"
#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

struct SecretServiceOptions {
  /// Tells one store's key from another's: random text that the store keeps.
  std::string storeId = {};
  /// The store's folder, which exists. Locked while a key is looked for and made, so that two
  /// programs do not make two.
  std::string folder = {};
  /// For all of it. A bus or service that does not answer is left alone after that.
  std::chrono::milliseconds limit{5000};
};

/// One cause and one remedy, for a person; both empty where it is usable.
struct SecretServiceStatus {
  bool usable = false;
  std::string cause = {};
  std::string remedy = {};
};

/// Whether the desktop's secret service can keep a key now: it answers, and its default keyring is
/// there and unlocked. Nobody is asked anything and nothing is made. Any thread; blocks up to
/// `limit`.
SecretServiceStatus probeSecretService(std::chrono::milliseconds limit = std::chrono::seconds(5));

/// The store's wrapping key, 32 random bytes, kept in the secret service; made at first. `failed`
/// with a cause where there is no service or its keyring is locked: nobody is asked to unlock it.
/// Any thread; blocks up to `limit`.
PasskeyResult<Secret> secretServiceKey(const SecretServiceOptions& options);

}  // namespace veltrane::authenticator
