#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/view_controller.h"
#include "veltrane/ui/start_flow_view_model.h"

namespace veltrane {

/// The first screen of every flow: shows that the flow is loading and gives way to its first
/// screen.
class StartFlowVC final : public ViewController,
                          public FlowStartScreen,
                          public StartFlowViewModelDelegate {
 public:
  /// After this time without an answer the user is offered to ask again.
  static constexpr MainQueue::Interval kOfferRetryAfter{10'000};

  std::string_view className() const override { return "StartFlowVC"; }

  bool isLoadingActivityHidden = false;
  bool isRetryButtonHidden = true;
  Label loadingLabel;

  void retryButtonAction();
  void cancelPressed();

  void viewDidLoad() override;
  void didLeaveStack() override;

  void getFlowDataComplete(const std::optional<VeltraneFlowError>& error) override;
  void getSession(const std::optional<JSON>& response,
                  const std::optional<VeltraneFlowError>& error) override;

 private:
  void load();

  std::shared_ptr<StartFlowViewModel> viewModel_;
  std::unique_ptr<Timer> offerRetry_;
};

}  // namespace veltrane
