#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace veltrane::sqlitefile {

/// A failed call: the extended result code and SQLite's fixed text for it, which holds no values.
class Error : public std::runtime_error {
 public:
  explicit Error(int code) : Error(code, sqlite3_errstr(code)) {}
  Error(int code, const std::string& what) : std::runtime_error(what), code_(code) {}

  int code() const { return code_; }
  /// Whether the file is no sound database (any more).
  bool isDamage() const { return primary() == SQLITE_CORRUPT || primary() == SQLITE_NOTADB; }
  bool isFull() const { return primary() == SQLITE_FULL; }
  /// Whether opening the file anew, or another in its place, may help.
  bool isMendable() const {
    return isDamage() || primary() == SQLITE_ERROR || primary() == SQLITE_SCHEMA;
  }

 private:
  int primary() const { return code_ & 0xff; }
  int code_;
};

/// A prepared statement. Values are bound in the order of its parameters and must live until the
/// last step, or until `reset`.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql);

  Statement& text(std::string_view value);
  Statement& blob(std::string_view value);
  Statement& integer(std::int64_t value);
  Statement& real(double value);

  /// True while there is a row.
  bool step();
  /// Lets go of the rows, the bound values and the file's lock, ready to be bound again.
  void reset();

  int type(int column) const { return sqlite3_column_type(handle_.get(), column); }
  std::string bytes(int column) const;
  std::int64_t number(int column) const { return sqlite3_column_int64(handle_.get(), column); }
  double fraction(int column) const { return sqlite3_column_double(handle_.get(), column); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
  int bound_ = 0;
};

/// How a file is opened, which is there already.
enum class Access : std::uint8_t {
  change,  ///< to be written, or read alone where it may not be; waits for other writers
  look,    ///< to be read: writes nothing and needs no right to; waits for writers
  glance,  ///< as `look`, but a file that is busy is an error at once
};

/// One open database file. Not for several threads at once. Every failure is an `Error`.
///
/// A change that is committed survives a killed process and a power cut alike, and is counted in
/// the file's header, which only a rollback journal does. What is deleted is overwritten.
class Connection {
 public:
  explicit Connection(const std::filesystem::path& file, Access access = Access::change);

  void run(const char* sql);
  Statement query(const char* sql) { return Statement(db_.get(), sql); }
  /// The first column of the first row.
  std::string textOf(const char* sql);
  std::int64_t numberOf(const char* sql);
  /// Rows that the last statement changed.
  int changed() const { return sqlite3_changes(db_.get()); }

  /// Throws unless the whole file is sound, all of which it reads.
  void requireSound();
  /// Gives the file the journal that the promise above needs; throws where it is in use.
  void requireRollbackJournal();

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
  enum class Kind : std::uint8_t { reading, writing };
  /// `writing` takes the right to write at once.
  Transaction(Connection& connection, Kind kind);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void commit();

 private:
  Connection& connection_;
  bool isOpen_ = true;
};

}  // namespace veltrane::sqlitefile
