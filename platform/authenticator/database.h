#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/sqlitefile/connection.h"

namespace veltrane::authenticator {

/// What a store's file has to look like.
struct Schema {
  /// In the header of each file, so that no other program's is taken for one.
  std::int32_t applicationId;
  /// One for each table and index. The first is in no other program's files.
  std::vector<std::string> statements;
  /// What is in them at first.
  const char* contents;
  /// Of this set of tables.
  int version;
};

/// An open store that has been found to have exactly the tables it should: what a stranger put into
/// the file never runs. Opened to be changed or looked at, it has been found sound as well.
/// Failures are `sqlitefile::Error`s.
class Database : public sqlitefile::Connection {
 public:
  /// Makes the tables in an empty file if it is opened to be changed. One of a later version is an
  /// error, but no damage.
  Database(const std::filesystem::path& file, const Schema& schema, sqlitefile::Access access);

 private:
  void requireOrigin(const Schema& schema);
  void make(const Schema& schema);
  std::vector<std::string> presentStatements();
};

/// Takes the right to write at once.
class Transaction : public sqlitefile::Transaction {
 public:
  explicit Transaction(Database& database)
      : sqlitefile::Transaction(database, sqlitefile::Transaction::Kind::writing) {}
};

/// Whether a file is one of these stores, sound or damaged, or is none yet, by what stands at its
/// start. One that cannot be read is left to whoever opens it.
bool mayBeStore(const std::filesystem::path& file, const Schema& schema);

}  // namespace veltrane::authenticator
