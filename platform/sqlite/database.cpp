#include "platform/sqlite/database.h"

#include "platform/sqlite/setting_row.h"

namespace veltrane::sqlite {

namespace {

using sqlitefile::Connection;
using sqlitefile::Statement;
using sqlitefile::Transaction;

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
  connection.requireRollbackJournal();
  connection.requireSound();
  // Asked first, so that a file that may only be read can be opened.
  if (connection.textOf(kFindTable).empty()) connection.run(kMakeTable);
  return connection;
}

Database::Database(const std::filesystem::path& file)
    : connection_(opened(file)),
      select_(connection_.query(kSelect)),
      upsert_(connection_.query(kUpsert)),
      delete_(connection_.query(kDelete)) {}

void Database::set(std::string_view key, const SettingValue& value) {
  const SettingRow row(value);
  Execution execution(upsert_);
  row.bind(upsert_.text(key));
  execution.step();
}

void Database::remove(std::string_view key) {
  Execution execution(delete_);
  delete_.text(key);
  execution.step();
}

Database::Snapshot Database::snapshot() {
  Snapshot snapshot;
  Transaction transaction(connection_, Transaction::Kind::reading);
  {
    Execution rows(select_);
    while (rows.step()) {
      snapshot.values.emplace(select_.bytes(0), SettingRow::read(select_, 1, 2));
    }
  }
  snapshot.changeCounter = changeCounter();
  transaction.commit();
  return snapshot;
}

}  // namespace veltrane::sqlite
