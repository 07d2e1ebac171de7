#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/base/json.h"
#include "veltrane/toolkit/color.h"

namespace veltrane::tool {

/// One line of the driver's output, in the making: "event" first, then the fields in the order set.
class Event {
 public:
  explicit Event(std::string_view name);

  /// A value that JSON cannot express is written as null, so that a line is always readable.
  Event& set(std::string_view field, const JSON& value);

  /// The object, without a line break.
  std::string line() const { return text_ + '}'; }

 private:
  std::string text_;
};

// Values of fields. What is absent is null; bytes that are not UTF-8 become U+FFFD.

JSON textValue(std::optional<std::string_view> text);
JSON countValue(std::size_t count);
JSON numberValue(const std::optional<double>& number);
/// "#rrggbbaa".
JSON colorValue(const std::optional<Color>& color);

}  // namespace veltrane::tool
