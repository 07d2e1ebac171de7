#pragma once

#include <sqlite3.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace veltrane::authenticator {

/// A failed call: the extended result code and a fixed text, which holds no values.
class StoreError : public std::runtime_error {
 public:
  explicit StoreError(int code) : StoreError(code, sqlite3_errstr(code)) {}
  StoreError(int code, const std::string& what) : std::runtime_error(what), code_(code) {}

  int code() const { return code_; }
  /// Whether the file is no sound store (any more).
  bool isDamage() const { return primary() == SQLITE_CORRUPT || primary() == SQLITE_NOTADB; }
  bool isFull() const { return primary() == SQLITE_FULL; }

 private:
  int primary() const { return code_ & 0xff; }
  int code_;
};

/// A prepared statement with its values, which must outlive the steps.
class Query {
 public:
  Query(sqlite3* db, const char* sql);

  Query& text(std::string_view value);
  Query& blob(std::string_view value);
  Query& integer(std::int64_t value);

  /// True while there is a row.
  bool step();

  std::string bytes(int column) const;
  std::int64_t number(int column) const { return sqlite3_column_int64(handle_.get(), column); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
  int bound_ = 0;
};

/// An open database that has been found sound and to have exactly the tables it should: what a
/// stranger put into the file never runs. Failures are `StoreError`s.
class Database {
 public:
  struct Schema {
    /// One for each table and index.
    std::vector<std::string> statements;
    /// What is in them at first.
    const char* contents;
    /// Of this set of tables.
    int version;
  };
  /// Makes the tables in an empty file. One of a later version is an error, but no damage.
  Database(const std::filesystem::path& file, const Schema& schema);

  Query query(const char* sql) { return Query(db_.get(), sql); }
  void run(const char* sql);
  /// Rows that the last statement changed.
  int changed() const { return sqlite3_changes(db_.get()); }

 private:
  void requireSchema(const Schema& schema);
  void make(const Schema& schema);
  std::vector<std::string> presentStatements();
  std::int64_t version();

  struct Close {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
  };
  std::unique_ptr<sqlite3, Close> db_;
};

/// Rolls back unless committed. Takes the right to write at once.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void commit();

 private:
  Database& database_;
  bool isOpen_ = true;
};

/// A file that its owner alone may read from the moment it exists, and a lock beside it
/// ("<file>.lock"), so that no process replaces a file under another. Failures are `StoreError`s.
class OwnedFile {
 public:
  /// Tells a file from one that was put in its place.
  using Identity = std::pair<dev_t, ino_t>;

  explicit OwnedFile(std::filesystem::path path);
  ~OwnedFile();
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::optional<Identity> identity() const;

  /// Makes folders, opens the lock. A folder that may not be written has no lock, and nothing to
  /// guard.
  void prepare();
  /// Needs the lock, alone.
  void createIfMissing() const;
  /// Moves the file, which is closed, to a free name "<file>.damaged-N". Needs the lock, alone.
  std::filesystem::path setAside() const;

  class Hold {
   public:
    enum class Mode : std::uint8_t { shared, alone };
    Hold(const OwnedFile& file, Mode mode);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    int descriptor_;
  };

 private:
  std::filesystem::path path_;
  int lock_ = -1;
};

}  // namespace veltrane::authenticator
