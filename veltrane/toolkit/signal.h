#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace veltrane {

/// Keeps a subscription alive; dropping it ends it. May outlive what it subscribes to.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::shared_ptr<const void> slot) : slot_(std::move(slot)) {}
  void reset() { slot_.reset(); }
  explicit operator bool() const { return slot_ != nullptr; }

 private:
  std::shared_ptr<const void> slot_;
};

/// What retained state calls when it has changed. Main thread only. Subscribers may come, go and
/// destroy the signal while it is being sent.
template <typename... Args>
class Signal {
 public:
  using Slot = std::function<void(Args...)>;

  [[nodiscard]] Subscription subscribe(Slot slot) {
    auto shared = std::make_shared<Slot>(std::move(slot));
    std::erase_if(slots_, [](const auto& weak) { return weak.expired(); });
    slots_.push_back(shared);
    return Subscription(std::move(shared));
  }

  void operator()(Args... args) const {
    const auto snapshot = slots_;
    for (const auto& weak : snapshot) {
      if (const auto slot = weak.lock()) (*slot)(args...);
    }
  }

 private:
  std::vector<std::weak_ptr<Slot>> slots_;
};

}  // namespace veltrane
