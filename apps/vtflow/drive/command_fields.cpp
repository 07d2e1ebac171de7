#include "apps/vtflow/drive/command_fields.h"

#include <algorithm>
#include <cstdint>

namespace veltrane::tool {
namespace {

constexpr double kYear = 365.0 * 24 * 3600;

[[noreturn]] void fail(std::string_view field, std::string_view must) {
  throw FieldError('"' + std::string(field) + "\" must be " + std::string(must));
}

}  // namespace

std::string requiredText(const JSON& command, std::string_view field) {
  const auto text = command[field].text();
  if (!text) fail(field, "a text");
  return std::string(*text);
}

bool requiredBoolean(const JSON& command, std::string_view field) {
  const auto value = command[field];
  if (value.kind() != JSON::Kind::boolean) fail(field, "true or false");
  return *value.boolean();
}

std::optional<std::size_t> optionalRow(const JSON& command) {
  const auto value = command["row"];
  if (value.isNull()) return std::nullopt;
  const auto row = value.number() ? value.integer() : std::nullopt;
  if (!row || *row < 0) fail("row", "the index of a row");
  return static_cast<std::size_t>(*row);
}

std::size_t requiredRow(const JSON& command) {
  const auto row = optionalRow(command);
  if (!row) fail("row", "the index of a row");
  return *row;
}

RowName requiredRowName(const JSON& command) {
  RowName name{.key = std::nullopt, .index = optionalRow(command)};
  if (!command["key"].isNull()) name.key = requiredText(command, "key");
  if (name.key.has_value() == name.index.has_value()) {
    throw FieldError("exactly one of \"key\" and \"row\" must name the row");
  }
  return name;
}

std::chrono::milliseconds secondsOr(const JSON& command, std::string_view field,
                                    std::chrono::milliseconds otherwise) {
  const auto value = command[field];
  if (value.isNull()) return otherwise;
  const auto seconds = value.number();
  if (!seconds || !(*seconds >= 0)) fail(field, "a number of seconds");
  const auto milliseconds = std::min(*seconds, kYear) * 1000;
  return std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds));
}

}  // namespace veltrane::tool
