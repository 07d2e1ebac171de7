#include "veltrane/base/dictionary.h"

#include <algorithm>
#include <iterator>

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

void Dictionary::merge(std::vector<Entry> entries) {
  std::move(entries.begin(), entries.end(), std::back_inserter(entries_));
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.first < b.first; });
  // Seen from the back, the first of each name is the one that was set last.
  const auto end = std::unique(entries_.rbegin(), entries_.rend(),
                               [](const Entry& a, const Entry& b) { return a.first == b.first; });
  entries_.erase(entries_.begin(), end.base());
}

void Dictionary::remove(std::string_view name) {
  const auto at = lowerBound(entries_, name);
  if (at != entries_.end() && at->first == name) entries_.erase(at);
}

}  // namespace veltrane
