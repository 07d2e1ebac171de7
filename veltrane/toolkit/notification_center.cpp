#include "veltrane/toolkit/notification_center.h"

#include <utility>

#include "veltrane/base/fatal.h"
#include "veltrane/platform.h"

namespace veltrane {

Subscription NotificationCenter::addObserver(std::string_view name, Observer observer) {
  return signals_[std::string(name)].subscribe(std::move(observer));
}

void NotificationCenter::post(std::string_view name, std::optional<UserInfo> userInfo) {
  const auto signal = signals_.find(name);
  if (signal == signals_.end()) return;
  signal->second(Notification{std::string(name), std::move(userInfo)});
}

NotificationCenter& NotificationCenter::defaultCenter() {
  const auto& center = Platform::current().notificationCenter;
  if (!center) fatal("No notification center is installed. Install a Platform first.");
  return *center;
}

}  // namespace veltrane
