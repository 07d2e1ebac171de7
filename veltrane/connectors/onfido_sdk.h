#pragma once

#include <functional>
#include <memory>

#include "veltrane/connectors/hand_over_view_controller.h"
#include "veltrane/connectors/onfido_config.h"
#include "veltrane/connectors/onfido_response.h"

namespace veltrane {

/// One run of the vendor's capture flow. Main thread. It is dropped on a later turn of the main
/// queue once its response was taken, and at once when a new run takes its place or the screen has
/// gone: then it gives camera and connections back, and the handler is not called any more.
class OnfidoFlow {
 public:
  /// Once, on the main thread, never within `run`.
  using ResponseHandler = std::function<void(OnfidoResponse)>;

  virtual ~OnfidoFlow() = default;
  /// Before `run`. With `dismissFlowOnCompletion` the flow dismisses what `run` gave before it
  /// calls the handler, whatever the response.
  virtual void with(ResponseHandler responseHandler, bool dismissFlowOnCompletion) = 0;
  /// Once. What the core presents over the screen; null: nothing is shown, and the handler stays
  /// silent.
  virtual std::shared_ptr<HandOverViewController> run() = 0;
};

/// Port: the vendor's capture flow. Main thread. Absent: an alert tells that this device cannot do
/// the step, and the user stays on the screen.
class OnfidoSDK {
 public:
  virtual ~OnfidoSDK() = default;
  /// Null when the SDK refuses the configuration: nothing is shown.
  virtual std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& configuration) = 0;
};

}  // namespace veltrane
