#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/base/dictionary.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/network/http_transport.h"

namespace veltrane {

class NavigationController;
class VTFlow;

/// Hears what became of the request that starts a flow. Main thread.
class StartFlowViewModelDelegate {
 public:
  virtual ~StartFlowViewModelDelegate() = default;
  /// Without an error the view model holds the flow document.
  virtual void getFlowDataComplete(const std::optional<VeltraneFlowError>& error) = 0;
  /// The server granted a session without any screen.
  virtual void getSession(const std::optional<JSON>& response,
                          const std::optional<VeltraneFlowError>& error) = 0;
};

/// Asks the server for a flow and chooses its first screen. Main thread.
class StartFlowViewModel : public std::enable_shared_from_this<StartFlowViewModel> {
 public:
  /// Sends the request. The delegate hears the answer on a later turn of the main queue; an earlier
  /// request's answer is not heard any more.
  void getFlow(const std::optional<std::string>& companyId,
               const std::optional<std::string>& flowId, const std::optional<std::string>& policyId,
               const std::optional<Dictionary>& param);

  /// Opens the first screen of the flow document as the root of the navigation controller, or ends
  /// the flow when its template is unknown.
  static void renderFlow(const JSON& flow, const std::shared_ptr<NavigationController>& nav,
                         const std::shared_ptr<VTFlow>& vtFlow);

  std::weak_ptr<StartFlowViewModelDelegate> delegate;
  /// The flow document, once it is there.
  std::optional<JSON> flow;

 private:
  void answered(const JSON& object, const std::optional<VeltraneFlowError>& error);

  std::unique_ptr<HTTPRequestHandle> request_;
  std::uint64_t latestRequest_ = 0;
};

}  // namespace veltrane
