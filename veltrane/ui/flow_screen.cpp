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
  const auto self = std::static_pointer_cast<FlowScreen>(shared_from_this());
  std::shared_ptr<ViewController> closes = navigationController();
  if (!closes) closes = self;
  MainQueue::current().async([self, closes, userInfo = *notification.userInfo] {
    // The end reaches the host once, and it does reach it, even when another screen was opened
    // between the post and this turn: what counts is whether the flow is still open.
    if (closes->presentingViewController()) self->endFlow(userInfo, *closes);
  });
}

void FlowScreen::endFlow(const UserInfo& userInfo, ViewController& closes) {
  if (navigationController())
    console::print("No navigation controller found on vtFlowNotification");
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
  closes.dismiss(true);
}

}  // namespace veltrane
