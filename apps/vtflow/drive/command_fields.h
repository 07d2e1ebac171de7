#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "veltrane/base/json.h"

namespace veltrane::tool {

/// A field of a command is missing or of the wrong kind; `what()` says so to whoever wrote it.
class FieldError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The fields of a command by name. A null field counts as missing. All throw FieldError.

std::string requiredText(const JSON& command, std::string_view field);
bool requiredBoolean(const JSON& command, std::string_view field);
std::optional<std::size_t> optionalRow(const JSON& command);
std::size_t requiredRow(const JSON& command);
/// Exactly one of "key" and "row".
RowName requiredRowName(const JSON& command);
/// Seconds, from nothing to a year.
std::chrono::milliseconds secondsOr(const JSON& command, std::string_view field,
                                    std::chrono::milliseconds otherwise);

}  // namespace veltrane::tool
