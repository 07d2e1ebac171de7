#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "veltrane/base/dictionary.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

/// What a connector may ask of the screen that starts it. Main thread.
class ConnectorHost {
 public:
  virtual ~ConnectorHost() = default;
  /// The hand-over's step has events of its own; those of the screen stay as they are, so that its
  /// button works again afterwards.
  virtual void beginStep(const Dictionary& userView, std::size_t userViewIndex) = 0;
  /// Sends the step's result as its next event.
  virtual void sendNextEvent(const Dictionary& additionalParameter) = 0;
  virtual void presentOver(std::shared_ptr<ViewController> controller) = 0;
  /// Under the title "Veltrane Flow".
  virtual void showAlert(const std::string& message) = 0;
  /// Posts "vtFlowNotification". A `VeltraneFlowError` under "error" ends the flow.
  virtual void notify(UserInfo userInfo) = 0;
};

}  // namespace veltrane
