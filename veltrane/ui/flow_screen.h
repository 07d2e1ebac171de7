#pragma once

#include <memory>
#include <optional>

#include "veltrane/base/json.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

/// What every screen of a running flow is handed, and how it ends the flow: whoever posts
/// "vtFlowNotification" ends it, and the screen on display gives the outcome to the host.
class FlowScreen : public ViewController {
 public:
  std::shared_ptr<VTFlow> vtFlow;
  std::optional<JSON> flow;
  std::optional<UserViewProps> userViewProps;
  std::optional<std::size_t> userViewIndex;

  /// The user closes the flow.
  void cancelPressed();
  /// Hands the outcome to the host's delegate and closes the flow, on a later turn of the main
  /// queue, if the flow is still open then. Without user info the program stops.
  void notificationReceived(const Notification& notification);

 protected:
  void observeFlowNotification();
  void removeObservers() { observer_.reset(); }

 private:
  void endFlow(const UserInfo& userInfo, ViewController& closes);

  Subscription observer_;
};

/// Posts "vtFlowNotification".
void postFlowError(VeltraneFlowError error);
void postFlowResponse(JSON response);

}  // namespace veltrane
