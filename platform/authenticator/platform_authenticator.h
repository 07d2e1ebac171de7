#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/authenticator/key_keeper.h"
#include "platform/authenticator/lock.h"
#include "platform/authenticator/passkey_list.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {

struct AuthenticatorState;

/// Which store a keeper works for, should it keep something for each.
struct StorePlace {
  /// Random text that the store keeps.
  std::string id;
  /// Where the store lies.
  std::filesystem::path folder;
};

/// Gives a keeper, or nothing where this machine has none of the kind. Called on the
/// authenticator's thread when a key is first needed, and again at later needs while it gave
/// nothing; may block, does not throw.
using KeyKeeperFactory = std::function<std::unique_ptr<KeyKeeper>(const StorePlace&)>;

struct PlatformAuthenticatorOptions {
  std::filesystem::path file = defaultPasskeyFile();
  /// In the order in which they are tried for a new key. After them comes a passphrase of the
  /// person, which needs nothing from the machine.
  std::vector<KeyKeeperFactory> keepers = {};
  /// What a guess at PIN or passphrase costs; applies to those that are chosen from now on.
  StretchCost cost = {};
};

/// This machine as an authenticator. Credentials rest in an SQLite file that only its owner may
/// read and that several processes may share; their private keys are sealed by a `KeyKeeper`, so
/// that a copy of the file signs nothing. Names of relying parties and accounts are plain in it.
///
/// The person confirms everything on the sheet. Where verification is required, or preferred and a
/// PIN has been chosen, they prove themselves by the authenticator's PIN: at least four characters,
/// chosen when it is first required, eight tries that are counted on disk before each check, then
/// everything answers `locked` until `reset`. The PIN decides whether this authenticator acts; what
/// protects the keys of a stolen file is their keeper alone.
///
/// A passphrase (at least eight characters) is asked when a key that it protects is first used, and
/// stands for as long as this object lives.
///
/// Requests are dealt with one after another on a thread of its own. A credential counts as made
/// once its answer has been heard: a request that is cancelled before leaves nothing behind. What a
/// counter says is on disk before its signature leaves.
class PlatformAuthenticator final : public Authenticator {
 public:
  explicit PlatformAuthenticator(PlatformAuthenticatorOptions options = {});
  /// Cancels what is under way and waits for the thread.
  ~PlatformAuthenticator() override;
  PlatformAuthenticator(const PlatformAuthenticator&) = delete;
  PlatformAuthenticator& operator=(const PlatformAuthenticator&) = delete;

  std::string attachment() const override { return "platform"; }
  std::string displayName() const override { return "This device"; }
  /// Nothing also while another program is writing the store: nobody waits for it here.
  std::optional<bool> holds(const std::string& rpId,
                            const std::vector<std::string>& allowed) const override;
  bool canMake(const MakeCredential& request) const override;
  std::shared_ptr<void> make(MakeCredential request, std::shared_ptr<PasskeySheet> sheet,
                             Made made) override;
  std::shared_ptr<void> get(GetAssertion request, std::shared_ptr<PasskeySheet> sheet,
                            Got got) override;

 private:
  class Requests;
  std::shared_ptr<AuthenticatorState> state_;
  std::unique_ptr<Requests> requests_;
};

}  // namespace veltrane::authenticator
