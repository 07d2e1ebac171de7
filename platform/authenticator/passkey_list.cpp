#include "platform/authenticator/passkey_list.h"

#include <algorithm>
#include <utility>

#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/secret_service_key.h"
#include "platform/sqlitefile/owned_file.h"
#include "veltrane/base/console.h"

namespace veltrane::authenticator {
namespace {

bool isKeyringUsed(const CredentialStore& store) {
  const auto entries = store.list();
  const auto* all = std::get_if<std::vector<PasskeyEntry>>(&entries);
  return all != nullptr && std::ranges::any_of(*all, [](const PasskeyEntry& entry) {
           return entry.keeper == kSecretServiceKeeper;
         });
}

/// What the keyring keeps for a store that has no passkeys any more. Where none of those that have
/// just gone needed it, there was hardly any, and nobody is told that it cannot be reached.
void forget(SecretServiceOptions options, bool wasUsed) {
  if (options.folder.empty()) options.folder = ".";
  const auto forgotten = forgetSecretServiceKey(options);
  const auto* error = std::get_if<PasskeyError>(&forgotten);
  if (error == nullptr || !wasUsed) return;
  console::print("\"Passkeys of VeltraneFlow\" stays in the keyring, of no use any more: " +
                 error->cause);
}

}  // namespace

std::filesystem::path defaultPasskeyFile() {
  return sqlitefile::ownDataFile("passkeys.db");
}

PasskeyResult<std::vector<PasskeyEntry>> list(const std::filesystem::path& file) {
  return CredentialStore(file).list();
}

PasskeyResult<bool> remove(const std::filesystem::path& file, const std::string& id) {
  CredentialStore store(file);
  const bool usesKeyring = isKeyringUsed(store);
  auto removed = store.remove(id);
  const auto* isRemoved = std::get_if<bool>(&removed);
  if (isRemoved == nullptr || !*isRemoved) return removed;
  auto former = store.renewIdIfEmpty();
  if (auto* error = std::get_if<PasskeyError>(&former)) return std::move(*error);
  if (const auto& storeId = std::get<std::optional<std::string>>(former)) {
    forget({.folder = file.parent_path(), .storeId = *storeId}, usesKeyring);
  }
  return true;
}

PasskeyResult<std::size_t> reset(const std::filesystem::path& file) {
  CredentialStore store(file);
  const bool usesKeyring = isKeyringUsed(store);
  auto emptied = store.reset();
  if (auto* error = std::get_if<PasskeyError>(&emptied)) return std::move(*error);
  const auto& [credentials, formerId] = std::get<CredentialStore::Emptied>(emptied);
  if (!formerId.empty()) forget({.folder = file.parent_path(), .storeId = formerId}, usesKeyring);
  return credentials;
}

}  // namespace veltrane::authenticator
