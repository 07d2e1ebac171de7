#include "platform/authenticator/passkey_list.h"

#include "platform/authenticator/credential_store.h"
#include "platform/sqlitefile/owned_file.h"

namespace veltrane::authenticator {

std::filesystem::path defaultPasskeyFile() {
  return sqlitefile::ownDataFile("passkeys.db");
}

PasskeyResult<std::vector<PasskeyEntry>> list(const std::filesystem::path& file) {
  return CredentialStore(file).list();
}

PasskeyResult<bool> remove(const std::filesystem::path& file, const std::string& id) {
  return CredentialStore(file).remove(id);
}

PasskeyResult<std::size_t> reset(const std::filesystem::path& file) {
  return CredentialStore(file).reset();
}

}  // namespace veltrane::authenticator
