#pragma once

#include <any>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/toolkit/signal.h"

namespace veltrane {

/// What travels with a notification: names to values of any type.
using UserInfo = std::map<std::string, std::any, std::less<>>;

struct Notification {
  std::string name;
  std::optional<UserInfo> userInfo;
};

/// Named in-process messages. Main thread only; observers are called inside `post`.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// Dropping the subscription removes the observer.
  [[nodiscard]] Subscription addObserver(std::string_view name, Observer observer);
  void post(std::string_view name, std::optional<UserInfo> userInfo);

  /// The installed platform's.
  static NotificationCenter& defaultCenter();

 private:
  std::map<std::string, Signal<const Notification&>, std::less<>> signals_;
};

}  // namespace veltrane
