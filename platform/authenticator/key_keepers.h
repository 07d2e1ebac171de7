#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/key_keeper.h"
#include "platform/authenticator/platform_authenticator.h"

namespace veltrane::authenticator {

class Conversation;

/// The keepers of this machine and, after them, the person's passphrase. The authenticator's thread
/// alone. A keeper that is answered stays until the next call.
class KeyKeepers {
 public:
  static constexpr std::string_view kPassphrase = "passphrase";
  static constexpr std::size_t kShortestPassphrase = 8;

  KeyKeepers(std::vector<KeyKeeperFactory> factories, CredentialStore& store, StretchCost cost,
             std::filesystem::path folder);

  struct Choice {
    KeyKeeper* keeper = nullptr;
    int algorithm = 0;
    /// What is made must go into that store.
    std::string storeId = {};
  };
  /// The first that makes keys of one of the algorithms, and the first of these that it makes.
  PasskeyResult<Choice> forNewKey(const std::vector<int>& algorithms, Conversation& conversation);
  /// The one that made a stored key. `notSupported` when it is not there any more.
  PasskeyResult<KeyKeeper*> named(const std::string& name, Conversation& conversation);
  /// A keeper that failed is asked for anew next time.
  void drop(const KeyKeeper* keeper);

 private:
  std::optional<PasskeyError> turnToStore();
  KeyKeeper* at(std::size_t index);
  PasskeyResult<KeyKeeper*> passphrase(Conversation& conversation, bool mayChoose);
  PasskeyResult<Secret> unlock(const Lock& lock, Conversation& conversation);
  PasskeyResult<std::optional<NewLock>> choose(Conversation& conversation);

  std::vector<KeyKeeperFactory> factories_;
  CredentialStore& store_;
  StretchCost cost_;
  std::filesystem::path folder_;
  std::vector<std::unique_ptr<KeyKeeper>> keepers_;
  /// Which store they work for: one that takes the place of another has keys of its own.
  std::string storeId_;
  std::unique_ptr<KeyKeeper> passphraseKeeper_;
  /// Which passphrase it was made of: after a reset there is another.
  std::string passphraseSalt_;
};

}  // namespace veltrane::authenticator
