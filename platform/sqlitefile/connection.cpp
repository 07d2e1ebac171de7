#include "platform/sqlitefile/connection.h"

#include <array>
#include <utility>

namespace veltrane::sqlitefile {
namespace {

constexpr int kBusyTimeoutMilliseconds = 15000;
constexpr int kChangeCounterOffset = 24;
constexpr const char* kConfigure =
    "PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON; PRAGMA secure_delete=ON;"
    "PRAGMA synchronous=EXTRA";

void check(int code) {
  if (code != SQLITE_OK) throw Error(code);
}

}  // namespace

Statement::Statement(sqlite3* db, const char* sql) {
  sqlite3_stmt* handle = nullptr;
  check(sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr));
  handle_.reset(handle);
}

Statement& Statement::text(std::string_view value) {
  check(sqlite3_bind_text64(handle_.get(), ++bound_, value.data(), value.size(), SQLITE_STATIC,
                            SQLITE_UTF8));
  return *this;
}

Statement& Statement::blob(std::string_view value) {
  check(sqlite3_bind_blob64(handle_.get(), ++bound_, value.data(), value.size(), SQLITE_STATIC));
  return *this;
}

Statement& Statement::integer(std::int64_t value) {
  check(sqlite3_bind_int64(handle_.get(), ++bound_, value));
  return *this;
}

Statement& Statement::real(double value) {
  check(sqlite3_bind_double(handle_.get(), ++bound_, value));
  return *this;
}

bool Statement::step() {
  const int code = sqlite3_step(handle_.get());
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  throw Error(code);
}

void Statement::reset() {
  sqlite3_reset(handle_.get());
  sqlite3_clear_bindings(handle_.get());
  bound_ = 0;
}

std::string Statement::bytes(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
  return bytes == nullptr ? std::string() : std::string(bytes, size);
}

Connection::Connection(const std::filesystem::path& file, Access access) {
  sqlite3* db = nullptr;
  const int mode = access == Access::change ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
  const int code = sqlite3_open_v2(file.c_str(), &db,
                                   mode | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  db_.reset(db);
  check(code);
  check(sqlite3_busy_timeout(db, access == Access::glance ? 0 : kBusyTimeoutMilliseconds));
  check(sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr));
  check(sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file_));
  run(kConfigure);
}

void Connection::run(const char* sql) {
  check(sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr));
}

std::string Connection::textOf(const char* sql) {
  auto statement = query(sql);
  return statement.step() ? statement.bytes(0) : std::string();
}

std::int64_t Connection::numberOf(const char* sql) {
  auto statement = query(sql);
  return statement.step() ? statement.number(0) : 0;
}

void Connection::requireSound() {
  if (textOf("PRAGMA integrity_check(1)") != "ok") throw Error(SQLITE_CORRUPT);
}

void Connection::requireRollbackJournal() {
  if (textOf("PRAGMA journal_mode=DELETE") != "delete") throw Error(SQLITE_BUSY);
}

std::uint32_t Connection::changeCounter() {
  std::array<unsigned char, 4> bytes{};
  const int code = file_->pMethods->xRead(file_, bytes.data(), bytes.size(), kChangeCounterOffset);
  if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) throw Error(code);
  std::uint32_t counter = 0;
  for (const auto byte : bytes) counter = counter << 8 | byte;
  return counter;
}

Transaction::Transaction(Connection& connection, Kind kind) : connection_(connection) {
  connection_.run(kind == Kind::writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction() {
  if (!isOpen_) return;
  try {
    connection_.run("ROLLBACK");
  } catch (const Error&) {  // NOLINT(bugprone-empty-catch): reported by what failed
  }
}

void Transaction::commit() {
  connection_.run("COMMIT");
  isOpen_ = false;
}

}  // namespace veltrane::sqlitefile
