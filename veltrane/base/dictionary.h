#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "veltrane/base/json.h"

namespace veltrane {

/// A property dictionary: names to JSON values, kept in byte order of the names. Used for the
/// host's extra properties, user views, and the parameters of an event.
class Dictionary {
 public:
  using Entry = std::pair<std::string, JSON>;
  using const_iterator = std::vector<Entry>::const_iterator;

  Dictionary() = default;
  Dictionary(std::initializer_list<Entry> entries);

  /// The value under `name`, null when there is none.
  JSON operator[](std::string_view name) const;
  bool contains(std::string_view name) const { return find(name) != nullptr; }
  /// Valid until the dictionary changes.
  const JSON* find(std::string_view name) const;

  void set(std::string_view name, JSON value);
  /// Like `set` for one entry after the other, but quick for thousands in any order.
  void merge(std::vector<Entry> entries);
  void remove(std::string_view name);
  void reserve(std::size_t count) { entries_.reserve(count); }

  std::size_t size() const noexcept { return entries_.size(); }
  bool empty() const noexcept { return entries_.empty(); }
  const_iterator begin() const noexcept { return entries_.begin(); }
  const_iterator end() const noexcept { return entries_.end(); }

  friend bool operator==(const Dictionary& a, const Dictionary& b) = default;

 private:
  std::vector<Entry> entries_;
};

}  // namespace veltrane
