#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "veltrane/base/json.h"
#include "veltrane/base/long_strings.h"

namespace veltrane {

/// Builds the tree while parsing and refuses to go deeper than a document may.
template <typename Tree>
class TreeBuilder {
  using Text = typename Tree::string_t;

 public:
  explicit TreeBuilder(Tree& root, TextWithGaps* source = nullptr) : root_(root), source_(source) {}

  bool null() { return add(nullptr); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(std::int64_t value) { return add(value); }
  bool number_unsigned(std::uint64_t value) { return add(value); }
  /// The library hands over the digits as one of two text types.
  template <typename Digits>
  bool number_float(double value, const Digits& /*digits*/) {
    return add(value);
  }
  bool string(Text& value) {
    const std::string_view* whole = source_ ? source_->takeSkipped() : nullptr;
    return add(whole ? Text(*whole) : std::move(value));
  }
  template <typename Bytes>
  bool binary(Bytes& /*bytes*/) {
    return false;
  }

  bool start_object(std::size_t /*size*/) { return enter(Tree::object()); }
  bool key(Text& name) {
    member_ = &open_.back()->template get_ref<typename Tree::object_t&>()[std::move(name)];
    return true;
  }
  bool end_object() { return leave(); }
  bool start_array(std::size_t /*size*/) { return enter(Tree::array()); }
  bool end_array() { return leave(); }

  template <typename Exception>
  bool parse_error(std::size_t position, const std::string& /*token*/, const Exception&) {
    error_ = "The data is not valid JSON (near byte " + std::to_string(position) + ").";
    return false;
  }
  const std::string& error() const { return error_; }

 private:
  /// Where the next value belongs.
  template <typename Value>
  Tree& place(Value&& value) {
    if (open_.empty()) return root_ = Tree(std::forward<Value>(value));
    if (open_.back()->is_array()) {
      return open_.back()->template get_ref<typename Tree::array_t&>().emplace_back(
          std::forward<Value>(value));
    }
    return *member_ = Tree(std::forward<Value>(value));
  }

  template <typename Value>
  bool add(Value&& value) {
    place(std::forward<Value>(value));
    return true;
  }

  bool enter(Tree&& container) {
    if (open_.size() == JSON::kMaxDepth) {
      error_ =
          "The data is nested more deeply than " + std::to_string(JSON::kMaxDepth) + " levels.";
      return false;
    }
    open_.push_back(&place(std::move(container)));
    return true;
  }

  bool leave() {
    open_.pop_back();
    return true;
  }

  Tree& root_;
  TextWithGaps* source_;
  /// From the root to the innermost value that is still open.
  std::vector<Tree*> open_;
  /// The member of an object that its value is awaited for.
  Tree* member_ = nullptr;
  std::string error_;
};

}  // namespace veltrane
