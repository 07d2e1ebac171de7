#include "platform/authenticator/credential_store.h"

#include <mutex>
#include <utility>

#include "platform/authenticator/sqlite_file.h"
#include "veltrane/base/console.h"

namespace veltrane::authenticator {
namespace {

const Database::Schema& schema() {
  static const Database::Schema schema = {
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

Credential credentialOf(const Query& row) {
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

/// The file with one caller at a time, opened when first needed and again when another process has
/// put a new one in its place.
class CredentialStore::File {
 public:
  explicit File(std::filesystem::path path) : file_(std::move(path)) {}

  template <typename Act, typename Value = std::invoke_result_t<Act, Database&>>
  PasskeyResult<Value> change(const Act& act) {
    return reporting<Value>([&] { return inCurrentFile(act); });
  }

  /// The empty value where there is no file.
  template <typename Act, typename Value = std::invoke_result_t<Act, Database&>>
  PasskeyResult<Value> read(const Act& act) {
    return reporting<Value>([&] { return file_.identity() ? inCurrentFile(act) : Value{}; });
  }

 private:
  using Hold = OwnedFile::Hold;

  template <typename Value, typename Act>
  PasskeyResult<Value> reporting(const Act& act) {
    std::string report;
    auto result = [&]() -> PasskeyResult<Value> {
      const std::lock_guard lock(mutex_);
      try {
        return act();
      } catch (const StoreError& error) {
        return failure(error, report);
      }
    }();
    // Outside of the mutex, since a host's console may do anything.
    if (!report.empty()) console::print(report);
    return result;
  }

  // While the lock is shared nobody replaces the file, so no change goes into one set aside.
  template <typename Act>
  auto inCurrentFile(const Act& act) {
    while (true) {
      if (!database_) open();
      const Hold hold(file_, Hold::Mode::shared);
      if (file_.identity() == identity_) return act(*database_);
      database_.reset();
    }
  }

  void open() {
    file_.prepare();
    const Hold hold(file_, Hold::Mode::alone);
    file_.createIfMissing();
    identity_ = file_.identity();
    try {
      database_.emplace(file_.path(), schema());
    } catch (const StoreError& error) {
      // What SQLite cannot make sense of before any of our statements is the file's fault.
      if (error.code() == SQLITE_ERROR) throw StoreError(SQLITE_CORRUPT, error.what());
      throw;
    }
  }

  PasskeyError failure(const StoreError& error, std::string& report) {
    database_.reset();
    PasskeyError told{.cause = "The passkey file cannot be used: " + std::string(error.what()),
                      .causeCode = error.code()};
    if (error.isFull()) told.failure = PasskeyFailure::storageFull;
    if (!error.isDamage()) return told;
    told.cause = "The passkey file was damaged (" + std::string(error.what()) + ")" + setAside();
    report = told.cause + " " + file_.path().string();
    return told;
  }

  /// Where the file is now, unless another process has dealt with it.
  std::string setAside() {
    try {
      const Hold hold(file_, Hold::Mode::alone);
      if (file_.identity() != identity_) return ".";
      return " and is now " + file_.setAside().filename().string() + ".";
    } catch (const StoreError& error) {
      return " and stays where it is: " + std::string(error.what());
    }
  }

  std::mutex mutex_;
  OwnedFile file_;
  std::optional<Database> database_;
  std::optional<OwnedFile::Identity> identity_;
};

CredentialStore::CredentialStore(std::filesystem::path file)
    : file_(std::make_unique<File>(std::move(file))) {}

CredentialStore::~CredentialStore() = default;

PasskeyResult<std::vector<Credential>> CredentialStore::find(
    const std::string& rpId, const std::vector<std::string>& allowed) {
  return file_->read([&](Database& database) {
    std::vector<Credential> found;
    const auto take = [&](Query query) {
      while (query.step()) found.push_back(credentialOf(query));
    };
    if (allowed.empty()) take(std::move(database.query(kDiscoverable).text(rpId)));
    for (const auto& id : allowed) take(std::move(database.query(kOne).blob(id).text(rpId)));
    return found;
  });
}

PasskeyResult<std::vector<PasskeyEntry>> CredentialStore::list() {
  return file_->read([](Database& database) {
    std::vector<PasskeyEntry> entries;
    auto rows = database.query(kAll);
    while (rows.step()) entries.push_back(credentialOf(rows));
    return entries;
  });
}

PasskeyResult<Done> CredentialStore::add(const Credential& credential) {
  return file_->change([&](Database& database) {
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
    return Done{};
  });
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

PasskeyResult<std::size_t> CredentialStore::reset() {
  return file_->read([](Database& database) {
    Transaction transaction(database);
    database.run("DELETE FROM credentials");
    const auto count = static_cast<std::size_t>(database.changed());
    database.run("DELETE FROM locks");
    transaction.commit();
    return count;
  });
}

PasskeyResult<std::string> CredentialStore::storeId() {
  return file_->change([](Database& database) {
    auto row = database.query("SELECT id FROM store");
    return row.step() ? row.bytes(0) : std::string();
  });
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

// What tools call.

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
