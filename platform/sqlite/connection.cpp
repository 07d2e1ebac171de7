#include "platform/sqlite/connection.h"

#include <array>
#include <utility>

namespace veltrane::sqlite {

namespace {

constexpr int kBusyTimeoutMilliseconds = 15000;
constexpr int kChangeCounterOffset = 24;

void check(int code) {
  if (code != SQLITE_OK) throw Error(code);
}

}  // namespace

Statement::Statement(sqlite3* db, const char* sql) {
  sqlite3_stmt* handle = nullptr;
  check(sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr));
  handle_.reset(handle);
}

void Statement::bindText(int index, std::string_view text) {
  check(sqlite3_bind_text64(handle_.get(), index, text.data(), text.size(), SQLITE_STATIC,
                            SQLITE_UTF8));
}

void Statement::bindBlob(int index, std::string_view bytes) {
  check(sqlite3_bind_blob64(handle_.get(), index, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void Statement::bindReal(int index, double number) {
  check(sqlite3_bind_double(handle_.get(), index, number));
}

void Statement::bindInt(int index, int number) {
  check(sqlite3_bind_int(handle_.get(), index, number));
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
}

std::string Statement::columnBytes(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
  return bytes == nullptr ? std::string() : std::string(bytes, size);
}

Connection::Connection(const std::filesystem::path& file) {
  sqlite3* db = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(file.c_str(), &db, kFlags, nullptr);
  db_.reset(db);
  check(code);
  check(sqlite3_busy_timeout(db, kBusyTimeoutMilliseconds));
  check(sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file_));
}

void Connection::run(const char* sql) {
  check(sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr));
}

std::string Connection::textOf(const char* sql) {
  auto statement = prepare(sql);
  return statement.step() ? statement.columnBytes(0) : std::string();
}

std::uint32_t Connection::changeCounter() {
  std::array<unsigned char, 4> bytes{};
  const int code = file_->pMethods->xRead(file_, bytes.data(), bytes.size(), kChangeCounterOffset);
  if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) throw Error(code);
  std::uint32_t counter = 0;
  for (const auto byte : bytes) counter = counter << 8 | byte;
  return counter;
}

Transaction::~Transaction() {
  // A failure that matters has been reported by the statement that failed.
  if (open_) {
    try {
      connection_.run("ROLLBACK");
    } catch (const Error&) {  // NOLINT(bugprone-empty-catch)
    }
  }
}

void Transaction::commit() {
  connection_.run("COMMIT");
  open_ = false;
}

}  // namespace veltrane::sqlite
