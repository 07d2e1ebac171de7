#include "veltrane/base/dictionary.h"

#include <algorithm>

namespace veltrane {
namespace {

template <typename Entries>
auto lowerBound(Entries& entries, std::string_view name) {
  return std::lower_bound(entries.begin(), entries.end(), name,
                          [](const Dictionary::Entry& entry, std::string_view wanted) {
                            return std::string_view(entry.first) < wanted;
                          });
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  reserve(entries.size());
  for (const auto& [name, value] : entries) set(name, value);
}

JSON Dictionary::operator[](std::string_view name) const {
  const JSON* value = find(name);
  return value ? *value : JSON();
}

const JSON* Dictionary::find(std::string_view name) const {
  const auto at = lowerBound(entries_, name);
  return at != entries_.end() && at->first == name ? &at->second : nullptr;
}

void Dictionary::set(std::string_view name, JSON value) {
  const auto at = lowerBound(entries_, name);
  if (at != entries_.end() && at->first == name) {
    at->second = std::move(value);
  } else {
    entries_.emplace(at, std::string(name), std::move(value));
  }
}

void Dictionary::remove(std::string_view name) {
  const auto at = lowerBound(entries_, name);
  if (at != entries_.end() && at->first == name) entries_.erase(at);
}

}  // namespace veltrane
