#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

/// One passkey of this machine, for a person to look through. No secret is in it.
struct PasskeyEntry {
  /// Bytes.
  std::string id;
  std::string rpId;
  std::string userName;
  std::string userDisplayName;
  /// COSE identifier (`cose::kES256`, ...).
  int algorithm = 0;
  /// What keeps its key: "tpm", "secret-service", "passphrase".
  std::string keeper;
  /// Signatures made so far.
  std::uint32_t counter = 0;
  bool isDiscoverable = false;
  std::chrono::sys_seconds created;
};

/// `veltrane-flow/passkeys.db` in the user's data folder: `$XDG_DATA_HOME` if that is an absolute
/// path, else `~/.local/share`.
std::filesystem::path defaultPasskeyFile();

// What a tool does with the store, while programs may be using it. Any thread; a missing file is an
// empty store, and one that never was a store is an error and left as it is. A store that is
// damaged is moved to `<file>.damaged-N` by what changes it, which the error says.

/// Newest first. Changes nothing, a damaged store neither, and needs no right to write.
PasskeyResult<std::vector<PasskeyEntry>> list(const std::filesystem::path& file);
// Once no passkey is left, nothing is in the desktop's keyring for the store either: where there is
// a session, what deletes the last one waits for the keyring, up to six seconds.

/// Deletes one for good. False when there is none of that id.
PasskeyResult<bool> remove(const std::filesystem::path& file, const std::string& id);
/// As new: deletes every passkey, the PIN with its count of wrong tries, and the passphrase.
/// Answers how many passkeys there were.
PasskeyResult<std::size_t> reset(const std::filesystem::path& file);

}  // namespace veltrane::authenticator
