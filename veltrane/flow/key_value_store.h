#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace veltrane {

/// A setting: a text, a number, a flag, or a dictionary of texts.
using TextDictionary = std::map<std::string, std::string, std::less<>>;
using SettingValue = std::variant<std::string, double, bool, TextDictionary>;

/// Port: settings that outlive the process, one value a key, types kept as written.
///
/// Called from any thread, several at once. `set` and `remove` return once the change would survive
/// the process being killed; a change is there wholly or not at all, for every process that shares
/// the store. Failures are the adapter's to report on the console; they are no error of the caller.
class KeyValueStore {
 public:
  virtual ~KeyValueStore() = default;
  virtual std::optional<SettingValue> value(std::string_view key) const = 0;
  virtual void set(std::string_view key, const SettingValue& value) = 0;
  virtual void remove(std::string_view key) = 0;
};

}  // namespace veltrane
