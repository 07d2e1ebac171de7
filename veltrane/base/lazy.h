#pragma once

#include <functional>
#include <optional>
#include <utility>

namespace veltrane {

/// A value that is made when it is first looked at. One thread at a time; a copy of one not made
/// yet makes its own.
template <typename Value>
class Lazy {
 public:
  using Make = std::function<Value()>;

  Lazy() : value_(Value()) {}
  Lazy(Value value) : value_(std::move(value)) {}
  explicit Lazy(Make make) : make_(std::move(make)) {}

  const Value& operator*() const {
    if (!value_) value_ = std::exchange(make_, nullptr)();
    return *value_;
  }
  const Value* operator->() const { return &**this; }

 private:
  mutable std::optional<Value> value_;
  mutable Make make_;
};

}  // namespace veltrane
