#include "apps/vtflow/drive/event.h"

#include <cstdint>
#include <nlohmann/json.hpp>

namespace veltrane::tool {
namespace {

/// The text as a JSON string, whatever its bytes are.
std::string quoted(std::string_view text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

Event::Event(std::string_view name) : text_("{\"event\":" + quoted(name)) {}

Event& Event::set(std::string_view field, const JSON& value) {
  text_ += ',';
  text_ += quoted(field);
  text_ += ':';
  text_ += value.serialized().value_or("null");
  return *this;
}

JSON textValue(std::optional<std::string_view> text) {
  if (!text) return {};
  JSON value(*text);
  return value.serialized() ? value : JSON::parse(quoted(*text)).value;
}

JSON countValue(std::size_t count) {
  return JSON(static_cast<std::int64_t>(count));
}

JSON numberValue(const std::optional<double>& number) {
  return number ? JSON(*number) : JSON();
}

JSON colorValue(const std::optional<Color>& color) {
  return color ? JSON(color->hex()) : JSON();
}

}  // namespace veltrane::tool
