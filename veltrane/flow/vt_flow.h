#pragma once

#include <memory>
#include <optional>
#include <string>

#include "veltrane/base/dictionary.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/flow/vt_theme.h"

namespace veltrane {

class VTFlow;
class ViewController;

/// Where the outcome of a flow goes. Called on the main thread by the flow's screens.
class VeltraneFlowDelegate {
 public:
  virtual ~VeltraneFlowDelegate() = default;
  /// Exactly one of the two is present. `response` is the server's final object as it came.
  virtual void flowDidComplete(const std::optional<JSON>& response,
                               const std::optional<VeltraneFlowError>& error) = 0;
};

/// The name of the in-process notification that ends a flow; its user info holds either "error" (a
/// `VeltraneFlowError`) or "response" (a `JSON` object).
inline constexpr const char* kVtFlowNotification = "vtFlowNotification";

/// What the flow's first screen is handed. The screen registered as "StartFlowVC" implements it.
class FlowStartScreen {
 public:
  virtual ~FlowStartScreen() = default;

  std::optional<std::string> companyId;
  std::optional<std::string> flowId;
  std::optional<std::string> policyId;
  std::shared_ptr<VTFlow> vtFlow;
  std::optional<Dictionary> props;
};

/// Runs server-configured flows over a host's screen. Main thread only; shared with the screens of
/// its flows for as long as they live.
class VTFlow : public std::enable_shared_from_this<VTFlow> {
 public:
  struct Arguments {
    std::string vtApiKey;
    std::string rpId;
    std::string origin;
    std::string companyId;
    /// Seconds. Not finite, zero or less: requests wait 120 s.
    double responseTimeOut;
    std::optional<VTTheme> theme;
    bool isSandbox;
  };
  struct ByFlowId {
    std::optional<std::string> flowId;
    std::shared_ptr<ViewController> fromViewController;
    /// Absent: a token stored by an earlier run stays in force.
    std::optional<std::string> accessToken = std::nullopt;
    /// The body of the request that starts the flow.
    std::optional<Dictionary> props = std::nullopt;
  };
  struct ByPolicyId {
    std::optional<std::string> policyId;
    std::shared_ptr<ViewController> fromViewController;
    std::optional<std::string> accessToken = std::nullopt;
    std::optional<Dictionary> props = std::nullopt;
  };

  /// Writes the arguments to the settings store. Without a theme an earlier one is removed.
  static std::shared_ptr<VTFlow> make(const Arguments& arguments);

  /// Opens the flow over `fromViewController`, later, on the main queue. An absent identifier is
  /// reported to the delegate at once.
  void runFlow(ByFlowId arguments);
  void runFlow(ByPolicyId arguments);

  /// Hands an outcome to the delegate: the error first, then the response, whichever are present.
  /// Dismisses nothing.
  void responseBack(const std::optional<JSON>& response,
                    const std::optional<VeltraneFlowError>& error);

  std::shared_ptr<VeltraneFlowDelegate> delegate;
  std::optional<std::string> companyId;
  /// For the host alone: never filled, never read here. The key given to `make` is in the settings.
  std::optional<std::string> vtApiKey;
  std::optional<std::string> rpId;
  std::optional<std::string> origin;

 private:
  VTFlow() = default;
  void startFlow(std::optional<std::string> flowId, std::optional<std::string> policyId,
                 std::optional<Dictionary> props, std::shared_ptr<ViewController> from);
  void presentStartScreen(std::optional<std::string> flowId, std::optional<std::string> policyId,
                          std::optional<Dictionary> props,
                          const std::shared_ptr<ViewController>& from);
};

}  // namespace veltrane
