#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace veltrane::sqlite {

/// A failed call: the extended result code and SQLite's fixed text for it, which holds no values.
class Error : public std::runtime_error {
 public:
  explicit Error(int code) : Error(code, sqlite3_errstr(code)) {}
  Error(int code, const std::string& what) : std::runtime_error(what), code_(code & 0xff) {}

  /// Whether the file is no sound database (any more).
  bool damage() const { return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB; }
  /// Whether opening the file anew, or another in its place, may help.
  bool mendable() const { return damage() || code_ == SQLITE_ERROR || code_ == SQLITE_SCHEMA; }

 private:
  int code_;
};

/// A prepared statement. Bound data must live until `reset`.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql);

  void bindText(int index, std::string_view text);
  void bindBlob(int index, std::string_view bytes);
  void bindReal(int index, double number);
  void bindInt(int index, int number);

  /// True while there is a row.
  bool step();
  void reset();

  int columnType(int column) const { return sqlite3_column_type(handle_.get(), column); }
  std::string columnBytes(int column) const;
  double columnReal(int column) const { return sqlite3_column_double(handle_.get(), column); }
  bool columnBool(int column) const { return sqlite3_column_int(handle_.get(), column) != 0; }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

/// One open database file. Not for several threads at once. Every failure is an `Error`.
class Connection {
 public:
  /// Opens an existing file, for reading only if it may not be written.
  explicit Connection(const std::filesystem::path& file);

  void run(const char* sql);
  Statement prepare(const char* sql) { return Statement(db_.get(), sql); }
  /// The first column of the first row.
  std::string textOf(const char* sql);

  /// The number in the file's header that every committed change by anyone counts up, read without
  /// a lock: it may already show a change that is still being committed, never miss one that is.
  /// Exact while a transaction holds the file.
  std::uint32_t changeCounter();

 private:
  struct Close {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
  };
  std::unique_ptr<sqlite3, Close> db_;
  sqlite3_file* file_ = nullptr;
};

/// Rolls back unless committed.
class Transaction {
 public:
  explicit Transaction(Connection& connection) : connection_(connection) {
    connection_.run("BEGIN");
  }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void commit();

 private:
  Connection& connection_;
  bool open_ = true;
};

}  // namespace veltrane::sqlite
