#include "platform/sqlite/database.h"

#include "platform/sqlite/setting_row.h"

namespace veltrane::sqlite {

namespace {

// A commit survives a killed process and a power cut alike, and is counted in the file's header,
// which only a rollback journal does. Deleted secrets are overwritten.
constexpr const char* kConfigure =
    "PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON; PRAGMA secure_delete=ON;"
    "PRAGMA synchronous=EXTRA";
constexpr const char* kJournalMode = "PRAGMA journal_mode=DELETE";
constexpr const char* kFindTable = "SELECT name FROM sqlite_master WHERE name = 'settings'";
constexpr const char* kMakeTable =
    "CREATE TABLE IF NOT EXISTS settings("
    "key TEXT PRIMARY KEY NOT NULL, type TEXT NOT NULL, value) WITHOUT ROWID";
constexpr const char* kSelect = "SELECT key, type, value FROM settings";
constexpr const char* kUpsert =
    "INSERT INTO settings(key, type, value) VALUES(?1, ?2, ?3)"
    " ON CONFLICT(key) DO UPDATE SET type = excluded.type, value = excluded.value";
constexpr const char* kDelete = "DELETE FROM settings WHERE key = ?1";

// Lets go of the rows, the bound values and the file's lock on every way out.
class Execution {
 public:
  explicit Execution(Statement& statement) : statement_(statement) {}
  ~Execution() { statement_.reset(); }
  Execution(const Execution&) = delete;
  Execution& operator=(const Execution&) = delete;
  bool step() { return statement_.step(); }

 private:
  Statement& statement_;
};

}  // namespace

Connection Database::opened(const std::filesystem::path& file) {
  Connection connection(file);
  connection.run(kConfigure);
  if (connection.textOf(kJournalMode) != "delete") throw Error(SQLITE_BUSY);
  if (connection.textOf("PRAGMA integrity_check(1)") != "ok") throw Error(SQLITE_CORRUPT);
  // Asked first, so that a file that may only be read can be opened.
  if (connection.textOf(kFindTable).empty()) connection.run(kMakeTable);
  return connection;
}

Database::Database(const std::filesystem::path& file)
    : connection_(opened(file)),
      select_(connection_.prepare(kSelect)),
      upsert_(connection_.prepare(kUpsert)),
      delete_(connection_.prepare(kDelete)) {}

void Database::set(std::string_view key, const SettingValue& value) {
  const SettingRow row(value);
  Execution execution(upsert_);
  upsert_.bindText(1, key);
  row.bind(upsert_, 2, 3);
  execution.step();
}

void Database::remove(std::string_view key) {
  Execution execution(delete_);
  delete_.bindText(1, key);
  execution.step();
}

Database::Snapshot Database::snapshot() {
  Snapshot snapshot;
  Transaction transaction(connection_);
  {
    Execution rows(select_);
    while (rows.step()) {
      snapshot.values.emplace(select_.columnBytes(0), SettingRow::read(select_, 1, 2));
    }
  }
  snapshot.changeCounter = changeCounter();
  transaction.commit();
  return snapshot;
}

}  // namespace veltrane::sqlite
