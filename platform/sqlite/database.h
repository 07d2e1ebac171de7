#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/sqlitefile/connection.h"
#include "veltrane/flow/key_value_store.h"

namespace veltrane::sqlite {

/// Every row of the table; nothing behind a key whose row cannot be read as a setting.
using Values = std::map<std::string, std::optional<SettingValue>, std::less<>>;

/// The open file as a table of settings: checked for damage, with the table made if it was missing.
/// A change is committed and flushed when its function returns. Every failure is a
/// `sqlitefile::Error`.
class Database {
 public:
  explicit Database(const std::filesystem::path& file);

  void set(std::string_view key, const SettingValue& value);
  void remove(std::string_view key);

  struct Snapshot {
    Values values;
    std::uint32_t changeCounter = 0;
  };
  /// The values, and the change counter that stands for exactly these.
  Snapshot snapshot();
  std::uint32_t changeCounter() { return connection_.changeCounter(); }

 private:
  static sqlitefile::Connection opened(const std::filesystem::path& file);

  sqlitefile::Connection connection_;
  sqlitefile::Statement select_;
  sqlitefile::Statement upsert_;
  sqlitefile::Statement delete_;
};

}  // namespace veltrane::sqlite
