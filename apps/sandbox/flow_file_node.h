#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace veltrane::sandbox {

/// A value of the file together with the place it stands at, for messages.
class Node {
 public:
  Node(const nlohmann::json& value, std::string place) : value_(value), place_(std::move(place)) {}

  const nlohmann::json& value() const { return value_; }

  [[noreturn]] void fail(const std::string& what) const {
    throw std::invalid_argument((place_.empty() ? "the file" : place_) + ": " + what);
  }

  bool has(const std::string& key) const { return value_.contains(key); }

  Node operator[](const std::string& key) const {
    return {value_.at(key), place_.empty() ? key : place_ + "." + key};
  }

  void mustHoldOnly(std::initializer_list<std::string_view> keys) const {
    mustBeObject();
    for (const auto& entry : value_.items()) {
      bool known = false;
      for (const std::string_view key : keys) known = known || key == entry.key();
      if (!known) fail("unknown key \"" + entry.key() + "\"");
    }
  }

  void mustBeObject() const {
    if (!value_.is_object()) fail("must be an object");
  }

  std::string text() const {
    if (!value_.is_string()) fail("must be a text");
    return value_.get<std::string>();
  }

  bool flag() const {
    if (!value_.is_boolean()) fail("must be true or false");
    return value_.get<bool>();
  }

  std::size_t number(std::size_t least, std::size_t most) const {
    const bool fits = value_.is_number_unsigned() && value_.get<std::uint64_t>() >= least &&
                      value_.get<std::uint64_t>() <= most;
    if (!fits) {
      fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value_.get<std::size_t>();
  }

  template <typename Visit>
  void eachItem(const Visit& visit) const {
    if (!value_.is_array()) fail("must be a list");
    for (std::size_t i = 0; i < value_.size(); ++i) {
      visit(Node(value_[i], place_ + "[" + std::to_string(i) + "]"));
    }
  }

  template <typename Visit>
  void eachEntry(const Visit& visit) const {
    mustBeObject();
    for (const auto& entry : value_.items()) visit(entry.key(), (*this)[entry.key()]);
  }

 private:
  const nlohmann::json& value_;
  std::string place_;
};

/// The JSON of a flow file's text, its depth bounded. Throws std::invalid_argument.
nlohmann::json parseFlowFile(const std::string& text);

}  // namespace veltrane::sandbox
