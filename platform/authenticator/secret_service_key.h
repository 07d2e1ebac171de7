#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/authenticator/key_keeper.h"
#include "veltrane/base/secret.h"
#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

struct SecretServiceOptions {
  /// The store's folder, which exists. Locked while a key is looked for and made, so that two
  /// programs do not make two.
  std::string folder = {};
  /// Stores that give the same share the key.
  std::string storeId = "default";
  /// For all of it. A bus or service that does not answer is left alone after that.
  std::chrono::milliseconds limit = std::chrono::seconds(5);
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

/// The store's wrapping key, `SoftwareKeyKeeper::kWrappingKeySize` random bytes, kept in the secret
/// service; made at first. `failed` with a cause where there is no service or its keyring is
/// locked: nobody is asked to unlock it. Any thread; blocks up to `limit`.
PasskeyResult<Secret> secretServiceKey(const SecretServiceOptions& options);

/// Takes that key out of the secret service, for good; no error where there is none. Otherwise as
/// `secretServiceKey`.
PasskeyResult<bool> forgetSecretServiceKey(const SecretServiceOptions& options);

/// Under which the store has the keys of the keeper below.
constexpr const char* kSecretServiceKeeper = "secret-service";

/// Keys made in software and sealed under that key; named `kSecretServiceKeeper`. Null where
/// `secretServiceKey` tells why not.
std::unique_ptr<KeyKeeper> makeSecretServiceKeyKeeper(const SecretServiceOptions& options);

}  // namespace veltrane::authenticator
