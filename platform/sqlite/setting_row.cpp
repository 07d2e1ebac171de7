#include "platform/sqlite/setting_row.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace veltrane::sqlite {

namespace {

using sqlitefile::Statement;

// By the order of SettingValue's alternatives.
constexpr std::string_view kTypes[] = {"text", "number", "flag", "dictionary"};

std::optional<SettingValue> dictionaryOf(const std::string& cbor) {
  const auto document = nlohmann::json::from_cbor(cbor, true, false);
  if (!document.is_object()) return std::nullopt;
  TextDictionary dictionary;
  for (const auto& [key, text] : document.items()) {
    if (!text.is_string()) return std::nullopt;
    dictionary.emplace(key, text.get<std::string>());
  }
  return dictionary;
}

std::optional<SettingValue> numberOf(const Statement& row, int column) {
  const int type = row.type(column);
  if (type == SQLITE_NULL) return std::numeric_limits<double>::quiet_NaN();
  if (type == SQLITE_FLOAT) return row.fraction(column);
  return std::nullopt;
}

}  // namespace

SettingRow::SettingRow(const SettingValue& value) : value_(value) {
  if (const auto* dictionary = std::get_if<TextDictionary>(&value)) {
    nlohmann::json::to_cbor(nlohmann::json(*dictionary), encoded_);
  }
}

void SettingRow::bind(Statement& statement) const {
  statement.text(kTypes[value_.index()]);
  if (const auto* text = std::get_if<std::string>(&value_)) {
    statement.text(*text);
  } else if (const auto* number = std::get_if<double>(&value_)) {
    statement.real(*number);
  } else if (const auto* flag = std::get_if<bool>(&value_)) {
    statement.integer(*flag ? 1 : 0);
  } else {
    statement.blob(encoded_);
  }
}

std::optional<SettingValue> SettingRow::read(const Statement& row, int typeColumn,
                                             int valueColumn) {
  const auto type = row.bytes(typeColumn);
  const int stored = row.type(valueColumn);
  if (type == kTypes[0] && stored == SQLITE_TEXT) return row.bytes(valueColumn);
  if (type == kTypes[1]) return numberOf(row, valueColumn);
  if (type == kTypes[2] && stored == SQLITE_INTEGER) return row.number(valueColumn) != 0;
  if (type == kTypes[3] && stored == SQLITE_BLOB) return dictionaryOf(row.bytes(valueColumn));
  return std::nullopt;
}

}  // namespace veltrane::sqlite
