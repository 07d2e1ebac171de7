#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/authenticator/key_keeper.h"
#include "platform/authenticator/lock.h"
#include "platform/authenticator/passkey_list.h"
#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

class CredentialFile;

/// A stored credential: what a list shows, and what it takes to sign.
struct Credential : PasskeyEntry {
  /// Bytes.
  std::string userId;
  /// The private key, of use to its keeper alone.
  std::string sealed;

  /// A row cannot lend its key to another.
  KeyContext context() const { return {id, rpId}; }
};

/// For an act that has nothing to tell but that it was done.
struct Done {};

/// What a person remembers and this file can check.
enum class LockKind : std::uint8_t { pin, passphrase };

/// The authenticator's file. Several objects and processes may use one at the same time, each
/// object by any thread, one after another. Whatever changes the file is on disk when its function
/// returns.
///
/// A file that is damaged is moved aside: the call that finds it fails with a cause that says where
/// it is, the next one meets an empty store. One that never was a store is refused and stays as it
/// is. Reading never makes a file.
class CredentialStore {
 public:
  static constexpr int kTries = 8;

  explicit CredentialStore(std::filesystem::path file);
  ~CredentialStore();
  CredentialStore(const CredentialStore&) = delete;
  CredentialStore& operator=(const CredentialStore&) = delete;

  /// Those of a relying party that are named in `allowed`, or, where that is empty, that can be
  /// found without being named. Newest first.
  PasskeyResult<std::vector<Credential>> find(const std::string& rpId,
                                              const std::vector<std::string>& allowed);
  /// As `find(...)` is not empty, but never waits and changes nothing, so that any thread may ask:
  /// nothing when the file is busy at the moment or cannot be used.
  std::optional<bool> holds(const std::string& rpId, const std::vector<std::string>& allowed) const;
  /// Needs no right to write and changes nothing: a damaged file stays where it is.
  PasskeyResult<std::vector<PasskeyEntry>> list() const;

  /// `storeId`: the one that the credential's keeper knows; fails when there is another by now, for
  /// what keeps the key may have gone with the former one. Empty: whichever.
  PasskeyResult<Done> add(const Credential& credential, const std::string& storeId = {});
  /// False when there is none of that id.
  PasskeyResult<bool> remove(std::string_view id);
  /// Takes away older discoverable credentials of the same account at the same relying party.
  PasskeyResult<Done> removeFormer(const Credential& credential);
  /// Counts up, and answers the new count; nothing when the credential has gone.
  PasskeyResult<std::optional<std::uint32_t>> countUp(std::string_view id);
  /// Puts a key that was sealed anew into its place, unless something else has meanwhile.
  PasskeyResult<Done> reseal(const Credential& credential, const std::string& sealed);

  /// Random text that tells this store from every other.
  PasskeyResult<std::string> storeId();
  /// Gives a store without credentials another id, and answers the former one: whatever a keeper
  /// keeps for that has no use any more. Nothing where there are credentials, or no file.
  PasskeyResult<std::optional<std::string>> renewIdIfEmpty();

  struct Emptied {
    std::size_t credentials = 0;
    /// The store has another id now; empty where there was no file.
    std::string formerId;
  };
  PasskeyResult<Emptied> reset();

  PasskeyResult<std::optional<Lock>> lock(LockKind kind);
  /// False, and nothing changes, when there is one already: another process may have been quicker.
  PasskeyResult<bool> addLock(LockKind kind, const Lock& lock);
  /// Takes one try off. False when none is left.
  PasskeyResult<bool> spendTry(LockKind kind);
  /// All tries again. False when the lock is not that one any more.
  PasskeyResult<bool> restoreTries(LockKind kind, const Lock& lock);

 private:
  std::unique_ptr<CredentialFile> file_;
};

}  // namespace veltrane::authenticator
