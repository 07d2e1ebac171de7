#include "platform/authenticator/credential_store.h"

#include <utility>

#include "platform/authenticator/credential_file.h"

namespace veltrane::authenticator {
namespace {

using Row = sqlitefile::Statement;

const Schema& schema() {
  static const Schema schema = {
      0x56465043,  // "VFPC"
      {"CREATE TABLE credentials("
       "id BLOB PRIMARY KEY NOT NULL, rpId TEXT NOT NULL, userId BLOB NOT NULL,"
       " userName TEXT NOT NULL, userDisplayName TEXT NOT NULL, algorithm INTEGER NOT NULL,"
       " keeper TEXT NOT NULL, sealed BLOB NOT NULL,"
       " counter INTEGER NOT NULL CHECK(counter BETWEEN 0 AND 4294967295),"
       " discoverable INTEGER NOT NULL, created INTEGER NOT NULL) STRICT, WITHOUT ROWID",
       "CREATE INDEX accounts ON credentials(rpId, userId) WHERE discoverable = 1",
       "CREATE TABLE locks("
       "kind INTEGER PRIMARY KEY NOT NULL, passes INTEGER NOT NULL, memoryKiB INTEGER NOT NULL,"
       " lanes INTEGER NOT NULL, salt BLOB NOT NULL, verifier BLOB NOT NULL,"
       " triesLeft INTEGER NOT NULL CHECK(triesLeft BETWEEN 0 AND 8)) STRICT",
       "CREATE TABLE store(id TEXT NOT NULL) STRICT"},
      "INSERT INTO store VALUES(lower(hex(randomblob(16))))",
      1};
  return schema;
}
static_assert(CredentialStore::kTries == 8);

#define VELTRANE_COLUMNS                                                                           \
  "id, rpId, userId, userName, userDisplayName, algorithm, keeper, sealed, counter, discoverable," \
  " created"
constexpr const char* kOne =
    "SELECT " VELTRANE_COLUMNS " FROM credentials WHERE id = ?1 AND rpId = ?2";
constexpr const char* kDiscoverable =
    "SELECT " VELTRANE_COLUMNS
    " FROM credentials WHERE discoverable = 1 AND rpId = ?1 ORDER BY created DESC, id";
constexpr const char* kAll =
    "SELECT " VELTRANE_COLUMNS " FROM credentials ORDER BY created DESC, id";
constexpr const char* kAdd = "INSERT INTO credentials(" VELTRANE_COLUMNS
                             ") VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)";
#undef VELTRANE_COLUMNS
constexpr const char* kStoreId = "SELECT id FROM store";
constexpr const char* kRenewId = "UPDATE store SET id = lower(hex(randomblob(16)))";
constexpr const char* kRemoveFormer =
    "DELETE FROM credentials WHERE discoverable = 1 AND rpId = ?1 AND userId = ?2 AND id <> ?3"
    " AND created <= ?4";
constexpr const char* kCountUp = "UPDATE credentials SET counter = counter + 1 WHERE id = ?1";
constexpr const char* kLock =
    "SELECT passes, memoryKiB, lanes, salt, verifier, triesLeft FROM locks WHERE kind = ?1";
constexpr const char* kAddLock = "INSERT OR IGNORE INTO locks VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)";
constexpr const char* kSpendTry =
    "UPDATE locks SET triesLeft = triesLeft - 1 WHERE kind = ?1 AND triesLeft > 0";
constexpr const char* kRestoreTries =
    "UPDATE locks SET triesLeft = ?1 WHERE kind = ?2 AND verifier = ?3";

Credential credentialOf(const Row& row) {
  Credential credential;
  credential.id = row.bytes(0);
  credential.rpId = row.bytes(1);
  credential.userId = row.bytes(2);
  credential.userName = row.bytes(3);
  credential.userDisplayName = row.bytes(4);
  credential.algorithm = static_cast<int>(row.number(5));
  credential.keeper = row.bytes(6);
  credential.sealed = row.bytes(7);
  credential.counter = static_cast<std::uint32_t>(row.number(8));
  credential.isDiscoverable = row.number(9) == 1;
  credential.created = std::chrono::sys_seconds(std::chrono::seconds(row.number(10)));
  return credential;
}

/// Those that are named, or the discoverable ones where none is.
std::vector<Credential> findIn(Database& database, const std::string& rpId,
                               const std::vector<std::string>& allowed) {
  std::vector<Credential> found;
  const auto take = [&](Row query) {
    while (query.step()) found.push_back(credentialOf(query));
  };
  if (allowed.empty()) take(std::move(database.query(kDiscoverable).text(rpId)));
  for (const auto& id : allowed) take(std::move(database.query(kOne).blob(id).text(rpId)));
  return found;
}

std::int64_t secondsOf(const Credential& credential) {
  return credential.created.time_since_epoch().count();
}

std::int64_t numberOf(LockKind kind) {
  return static_cast<std::int64_t>(kind);
}

/// What a file says may be more than the type holds: no cost that is bearable.
std::uint32_t costOf(std::int64_t stored) {
  return stored < 0 || stored > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(stored);
}

}  // namespace

CredentialStore::CredentialStore(std::filesystem::path file)
    : file_(std::make_unique<CredentialFile>(std::move(file), schema())) {}

CredentialStore::~CredentialStore() = default;

PasskeyResult<std::vector<Credential>> CredentialStore::find(
    const std::string& rpId, const std::vector<std::string>& allowed) {
  return file_->read([&](Database& database) { return findIn(database, rpId, allowed); });
}

std::optional<bool> CredentialStore::holds(const std::string& rpId,
                                           const std::vector<std::string>& allowed) const {
  return file_->glance(
      [&](Database& database) { return !findIn(database, rpId, allowed).empty(); });
}

PasskeyResult<std::vector<PasskeyEntry>> CredentialStore::list() const {
  return file_->look([](Database& database) {
    std::vector<PasskeyEntry> entries;
    auto rows = database.query(kAll);
    while (rows.step()) entries.push_back(credentialOf(rows));
    return entries;
  });
}

PasskeyResult<Done> CredentialStore::add(const Credential& credential, const std::string& storeId) {
  auto added = file_->change([&](Database& database) {
    Transaction transaction(database);
    if (!storeId.empty() && database.textOf(kStoreId) != storeId) return false;
    database.query(kAdd)
        .blob(credential.id)
        .text(credential.rpId)
        .blob(credential.userId)
        .text(credential.userName)
        .text(credential.userDisplayName)
        .integer(credential.algorithm)
        .text(credential.keeper)
        .blob(credential.sealed)
        .integer(credential.counter)
        .integer(credential.isDiscoverable ? 1 : 0)
        .integer(secondsOf(credential))
        .step();
    transaction.commit();
    return true;
  });
  if (auto* error = std::get_if<PasskeyError>(&added)) return std::move(*error);
  if (std::get<bool>(added)) return Done{};
  return PasskeyError{.cause = "The passkeys of this device have just been reset."};
}

PasskeyResult<bool> CredentialStore::remove(std::string_view id) {
  return file_->read([&](Database& database) {
    database.query("DELETE FROM credentials WHERE id = ?1").blob(id).step();
    return database.changed() > 0;
  });
}

PasskeyResult<Done> CredentialStore::removeFormer(const Credential& credential) {
  return file_->change([&](Database& database) {
    database.query(kRemoveFormer)
        .text(credential.rpId)
        .blob(credential.userId)
        .blob(credential.id)
        .integer(secondsOf(credential))
        .step();
    return Done{};
  });
}

PasskeyResult<std::optional<std::uint32_t>> CredentialStore::countUp(std::string_view id) {
  return file_->change([&](Database& database) -> std::optional<std::uint32_t> {
    Transaction transaction(database);
    database.query(kCountUp).blob(id).step();
    std::optional<std::uint32_t> count;
    {
      auto row = database.query("SELECT counter FROM credentials WHERE id = ?1");
      if (row.blob(id).step()) count = static_cast<std::uint32_t>(row.number(0));
    }
    transaction.commit();
    return count;
  });
}

PasskeyResult<Done> CredentialStore::reseal(const Credential& credential,
                                            const std::string& sealed) {
  return file_->change([&](Database& database) {
    database.query("UPDATE credentials SET sealed = ?1 WHERE id = ?2 AND sealed = ?3")
        .blob(sealed)
        .blob(credential.id)
        .blob(credential.sealed)
        .step();
    return Done{};
  });
}

PasskeyResult<CredentialStore::Emptied> CredentialStore::reset() {
  return file_->read([](Database& database) {
    Transaction transaction(database);
    Emptied emptied{.formerId = database.textOf(kStoreId)};
    database.run("DELETE FROM credentials");
    emptied.credentials = static_cast<std::size_t>(database.changed());
    database.run("DELETE FROM locks");
    database.run(kRenewId);
    transaction.commit();
    return emptied;
  });
}

PasskeyResult<std::optional<std::string>> CredentialStore::renewIdIfEmpty() {
  return file_->read([](Database& database) -> std::optional<std::string> {
    Transaction transaction(database);
    if (database.numberOf("SELECT count(*) FROM credentials") > 0) return std::nullopt;
    auto former = database.textOf(kStoreId);
    database.run(kRenewId);
    transaction.commit();
    return former;
  });
}

PasskeyResult<std::string> CredentialStore::storeId() {
  return file_->change([](Database& database) { return database.textOf(kStoreId); });
}

PasskeyResult<std::optional<Lock>> CredentialStore::lock(LockKind kind) {
  return file_->read([&](Database& database) -> std::optional<Lock> {
    auto row = database.query(kLock);
    if (!row.integer(numberOf(kind)).step()) return std::nullopt;
    return Lock{.cost = {costOf(row.number(0)), costOf(row.number(1)), costOf(row.number(2))},
                .salt = row.bytes(3),
                .check = row.bytes(4),
                .triesLeft = static_cast<int>(row.number(5))};
  });
}

PasskeyResult<bool> CredentialStore::addLock(LockKind kind, const Lock& lock) {
  return file_->change([&](Database& database) {
    database.query(kAddLock)
        .integer(numberOf(kind))
        .integer(lock.cost.passes)
        .integer(lock.cost.memoryKiB)
        .integer(lock.cost.lanes)
        .blob(lock.salt)
        .blob(lock.check)
        .integer(kTries)
        .step();
    return database.changed() > 0;
  });
}

PasskeyResult<bool> CredentialStore::spendTry(LockKind kind) {
  return file_->change([&](Database& database) {
    database.query(kSpendTry).integer(numberOf(kind)).step();
    return database.changed() > 0;
  });
}

PasskeyResult<bool> CredentialStore::restoreTries(LockKind kind, const Lock& lock) {
  return file_->change([&](Database& database) {
    database.query(kRestoreTries).integer(kTries).integer(numberOf(kind)).blob(lock.check).step();
    return database.changed() > 0;
  });
}

}  // namespace veltrane::authenticator
