#include "platform/authenticator/sqlite_file.h"

#include <algorithm>
#include <string>

namespace veltrane::authenticator {
namespace {

constexpr int kBusyTimeoutMilliseconds = 15000;
// A commit survives a killed process and a power cut alike; what is deleted is overwritten.
constexpr const char* kConfigure =
    "PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON; PRAGMA secure_delete=ON;"
    "PRAGMA synchronous=EXTRA";
constexpr const char* kCheck = "PRAGMA integrity_check(1)";

void check(int code) {
  if (code != SQLITE_OK) throw StoreError(code);
}

}  // namespace

Query::Query(sqlite3* db, const char* sql) {
  sqlite3_stmt* handle = nullptr;
  check(sqlite3_prepare_v2(db, sql, -1, &handle, nullptr));
  handle_.reset(handle);
}

Query& Query::text(std::string_view value) {
  check(sqlite3_bind_text64(handle_.get(), ++bound_, value.data(), value.size(), SQLITE_STATIC,
                            SQLITE_UTF8));
  return *this;
}

Query& Query::blob(std::string_view value) {
  check(sqlite3_bind_blob64(handle_.get(), ++bound_, value.data(), value.size(), SQLITE_STATIC));
  return *this;
}

Query& Query::integer(std::int64_t value) {
  check(sqlite3_bind_int64(handle_.get(), ++bound_, value));
  return *this;
}

bool Query::step() {
  const int code = sqlite3_step(handle_.get());
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  throw StoreError(code);
}

std::string Query::bytes(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
  return bytes == nullptr ? std::string() : std::string(bytes, size);
}

Database::Database(const std::filesystem::path& file, const Schema& schema) {
  sqlite3* db = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(file.c_str(), &db, kFlags, nullptr);
  db_.reset(db);
  check(code);
  check(sqlite3_busy_timeout(db, kBusyTimeoutMilliseconds));
  check(sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr));
  run(kConfigure);
  requireSchema(schema);
  // A file that is in the way of readers was not made here.
  auto mode = query("PRAGMA journal_mode=DELETE");
  if (!mode.step() || mode.bytes(0) != "delete") throw StoreError(SQLITE_BUSY);
  auto soundness = query(kCheck);
  if (!soundness.step() || soundness.bytes(0) != "ok") throw StoreError(SQLITE_CORRUPT);
}

void Database::requireSchema(const Schema& schema) {
  if (version() > schema.version) {
    throw StoreError(SQLITE_CANTOPEN, "it was made by a later version of this program");
  }
  if (presentStatements().empty()) {
    Transaction making(*this);
    if (presentStatements().empty()) make(schema);
    making.commit();
  }
  const auto present = presentStatements();
  if (std::ranges::find_first_of(present, schema.statements) == present.end()) {
    throw StoreError(SQLITE_MISMATCH, "it is another program's");
  }
  if (!std::ranges::is_permutation(present, schema.statements)) {
    throw StoreError(SQLITE_CORRUPT, "it has tables of another kind");
  }
}

void Database::make(const Schema& schema) {
  for (const auto& statement : schema.statements) run(statement.c_str());
  run(schema.contents);
  run(("PRAGMA user_version=" + std::to_string(schema.version)).c_str());
}

std::vector<std::string> Database::presentStatements() {
  std::vector<std::string> all;
  auto rows = query("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL");
  while (rows.step()) all.push_back(rows.bytes(0));
  return all;
}

std::int64_t Database::version() {
  auto row = query("PRAGMA user_version");
  return row.step() ? row.number(0) : 0;
}

void Database::run(const char* sql) {
  check(sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr));
}

Transaction::Transaction(Database& database) : database_(database) {
  database_.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (!isOpen_) return;
  try {
    database_.run("ROLLBACK");
  } catch (const StoreError&) {  // NOLINT(bugprone-empty-catch): reported by what failed
  }
}

void Transaction::commit() {
  database_.run("COMMIT");
  isOpen_ = false;
}

}  // namespace veltrane::authenticator
