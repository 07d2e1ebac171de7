#pragma once

#include <memory>
#include <optional>
#include <string>

#include "veltrane/base/dictionary.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/flow/veltrane_flow_error.h"

namespace veltrane {

class ViewController;

/// What a connector may ask of the screen that starts it.
class ConnectorHost {
 public:
  virtual ~ConnectorHost() = default;
  virtual void presentOver(std::shared_ptr<ViewController> controller) = 0;
  virtual void showAlert(const std::string& message) = 0;
  /// Ends the flow with an error.
  virtual void endFlow(VeltraneFlowError error) = 0;
  /// Sends the step's result as the next event of the user view that the hand-over is for.
  virtual void sendNextEvent(const Dictionary& additionalParameter) = 0;
};

/// Port: hands the user over to an identity vendor for one user view. Main thread.
class IdentityConnector {
 public:
  virtual ~IdentityConnector() = default;
  /// `index` is below `viewProps.size()`. The host may be gone by the time a result is there.
  virtual void start(std::weak_ptr<ConnectorHost> host, const UserViewProps& viewProps,
                     std::size_t index) = 0;
};

}  // namespace veltrane
