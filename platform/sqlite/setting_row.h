#pragma once

#include <optional>
#include <string>

#include "platform/sqlitefile/connection.h"
#include "veltrane/flow/key_value_store.h"

namespace veltrane::sqlite {

/// A setting as the columns `type` and `value`: text as TEXT, number as REAL (NULL is the number
/// that is none), flag as 0 or 1, dictionary as CBOR, which keeps any bytes.
class SettingRow {
 public:
  explicit SettingRow(const SettingValue& value);

  /// Binds the two columns as the next ones. This row must outlive the step.
  void bind(sqlitefile::Statement& statement) const;

  /// What a row holds; nothing if its type is unknown or its value is not of its type.
  static std::optional<SettingValue> read(const sqlitefile::Statement& row, int typeColumn,
                                          int valueColumn);

 private:
  const SettingValue& value_;
  std::string encoded_;
};

}  // namespace veltrane::sqlite
