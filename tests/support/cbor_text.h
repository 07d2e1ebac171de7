#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// CBOR written by hand, so that what a simulated key says does not come from the library that reads
// it. Members have to be given in their order.
namespace veltrane::testing::cbor {

inline std::string head(unsigned major, std::uint64_t value) {
  const auto byte = [](std::uint64_t number) { return static_cast<char>(number & 0xFFU); };
  const std::uint64_t kind = major << 5U;
  if (value < 24) return {byte(kind | value)};
  if (value < 0x100) return {byte(kind | 24U), byte(value)};
  return {byte(kind | 25U), byte(value >> 8U), byte(value)};
}
inline std::string number(std::int64_t value) {
  return value < 0 ? head(1, static_cast<std::uint64_t>(-1 - value)) : head(0, value);
}
inline std::string bytes(std::string_view value) {
  return head(2, value.size()).append(value);
}
inline std::string text(std::string_view value) {
  return head(3, value.size()).append(value);
}
inline std::string boolean(bool value) {
  return value ? "\xF5" : "\xF4";
}
inline std::string list(const std::vector<std::string>& items) {
  std::string all = head(4, items.size());
  for (const auto& item : items) all += item;
  return all;
}
/// Keys and values, both CBOR already; a member with an empty value is left out.
inline std::string map(const std::vector<std::pair<std::string, std::string>>& members) {
  std::string all;
  std::uint64_t count = 0;
  for (const auto& [key, value] : members) {
    if (value.empty()) continue;
    all += key + value;
    ++count;
  }
  return head(5, count) + all;
}

}  // namespace veltrane::testing::cbor
