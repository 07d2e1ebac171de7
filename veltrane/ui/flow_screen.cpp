#include "veltrane/ui/flow_screen.h"

#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {
namespace {

template <typename T>
const T* entry(const UserInfo& userInfo, std::string_view name) {
  const auto found = userInfo.find(name);
  return found == userInfo.end() ? nullptr : std::any_cast<T>(&found->second);
}

}  // namespace

void postFlowError(VeltraneFlowError error) {
  NotificationCenter::defaultCenter().post(kVtFlowNotification,
                                           UserInfo{{"error", std::move(error)}});
}

void postFlowResponse(JSON response) {
  NotificationCenter::defaultCenter().post(kVtFlowNotification,
                                           UserInfo{{"response", std::move(response)}});
}

void FlowScreen::cancelPressed() {
  postFlowError(VeltraneFlowError::userCancelled());
}

void FlowScreen::observeFlowNotification() {
  observer_ = NotificationCenter::defaultCenter().addObserver(
      kVtFlowNotification,
      [this](const Notification& notification) { notificationReceived(notification); });
}

void FlowScreen::notificationReceived(const Notification& notification) {
  if (!notification.userInfo) fatal("No userInfo found on vtFlowNotification...");
  const auto weak = std::weak_ptr(std::static_pointer_cast<FlowScreen>(shared_from_this()));
  MainQueue::current().async([weak, userInfo = *notification.userInfo] {
    // The end reaches the host once: a screen that has left, or is covered, stays silent.
    const auto self = weak.lock();
    if (self && self->isOnDisplay()) self->endFlow(userInfo);
  });
}

void FlowScreen::endFlow(const UserInfo& userInfo) {
  const auto self = shared_from_this();
  const auto navigation = navigationController();
  if (navigation) console::print("No navigation controller found on vtFlowNotification");
  const auto* error = entry<VeltraneFlowError>(userInfo, "error");
  const auto* response = error ? nullptr : entry<JSON>(userInfo, "response");
  if (!error && !(response && response->isObject())) return;
  if (vtFlow && vtFlow->delegate) {
    const auto delegate = vtFlow->delegate;
    if (error) {
      delegate->flowDidComplete(std::nullopt, *error);
    } else {
      delegate->flowDidComplete(*response, std::nullopt);
    }
  }
  if (navigation) {
    navigation->dismiss(true);
  } else {
    dismiss(true);
  }
}

}  // namespace veltrane
