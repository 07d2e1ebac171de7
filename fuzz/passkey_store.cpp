// Any bytes as the file of this machine's passkeys: what can be read is listed, found, counted and
// signed with, what never was a store is refused, and of a damaged one a new one takes the place.
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/world.h"
#include "platform/authenticator/credential_store.h"
#include "platform/authenticator/signing.h"
#include "platform/authenticator/software_key_keeper.h"

namespace {

using namespace veltrane;
using namespace veltrane::authenticator;
namespace fs = std::filesystem;

/// In memory where there is such a folder: every input is written and flushed several times.
fs::path newFolder() {
  const fs::path memory = "/dev/shm";
  auto name =
      ((fs::is_directory(memory) ? memory : fs::temp_directory_path()) / "veltrane-fuzz-XXXXXX")
          .string();
  fuzz::require(mkdtemp(name.data()) != nullptr);
  return name;
}

struct Folder {
  ~Folder() { fs::remove_all(path); }
  fs::path path = newFolder();
};

void sign(const Credential& credential) {
  static SoftwareKeyKeeper keeper("k", Secret(std::string(32, 'k')));
  const GetAssertion request{.clientDataJSON = "{}", .rpId = credential.rpId};
  const auto assertion = assertWith(keeper, credential, credential.counter, request, false);
  if (const auto* made = std::get_if<Assertion>(&assertion)) {
    fuzz::require(made->authenticatorData.size() == 37 && !made->signature.empty());
  }
}

template <typename Value>
bool isValue(const PasskeyResult<Value>& result) {
  return std::holds_alternative<Value>(result);
}

void use(CredentialStore& store) {
  const auto entries = store.list();
  if (!isValue(entries)) return;
  for (const auto& entry : std::get<std::vector<PasskeyEntry>>(entries)) {
    const auto found = store.find(entry.rpId, {entry.id});
    if (!isValue(found)) return;
    for (const auto& credential : std::get<std::vector<Credential>>(found)) sign(credential);
    store.countUp(entry.id);
  }
  store.find("example.com", {});
  for (const auto kind : {LockKind::pin, LockKind::passphrase}) {
    if (isValue(store.lock(kind))) store.spendTry(kind);
  }
}

Credential another() {
  Credential credential;
  credential.id = "another";
  credential.rpId = "example.com";
  credential.sealed = "sealed";
  return credential;
}

/// What stays: what never was a store, one of a later version, one that says it may only be read,
/// one of which SQLite says that memory is short (which may be true), or one that has the
/// credential already.
bool mayStay(std::int64_t code) {
  return code == SQLITE_MISMATCH || code == SQLITE_CANTOPEN || code == SQLITE_READONLY ||
         code == SQLITE_NOMEM || code == SQLITE_CONSTRAINT_PRIMARYKEY;
}

/// A damaged file is replaced by the call that finds it, so a second one succeeds.
void requireBegins(CredentialStore& store) {
  for (int i = 0; i < 3; ++i) {
    const auto added = store.add(another());
    if (isValue(added) || mayStay(std::get<PasskeyError>(added).causeCode.value_or(0))) return;
  }
  fuzz::require(false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::World world;
  static const Folder folder;
  const fs::path file = folder.path / "passkeys.db";
  std::ofstream(file, std::ios::binary) << fuzz::asText(data, size);
  {
    CredentialStore store(file);
    use(store);
    requireBegins(store);
  }
  for (const auto& entry : fs::directory_iterator(folder.path)) fs::remove(entry);
  return 0;
}
