#include "veltrane/ui/start_flow_vc.h"

#include "veltrane/base/fatal.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {

void StartFlowVC::viewDidLoad() {
  if (!companyId) fatal("StartFlowVC needs a companyId.");
  viewModel_ = std::make_shared<StartFlowViewModel>();
  viewModel_->delegate = std::static_pointer_cast<StartFlowVC>(shared_from_this());
  load();
}

void StartFlowVC::didLeaveStack() {
  offerRetry_.reset();
  viewModel_.reset();
}

void StartFlowVC::load() {
  isRetryButtonHidden = true;
  isLoadingActivityHidden = false;
  loadingLabel.text = "Loading flow...";
  offerRetry_ = MainQueue::current().repeatingTimer(kOfferRetryAfter, [this] {
    isRetryButtonHidden = false;
    changed();
    offerRetry_.reset();
  });
  changed();
  viewModel_->getFlow(companyId, flowId, policyId, props);
}

void StartFlowVC::retryButtonAction() {
  if (viewModel_) load();
}

void StartFlowVC::cancelPressed() {
  if (viewModel_) getFlowDataComplete(VeltraneFlowError::userCancelled());
}

void StartFlowVC::getFlowDataComplete(const std::optional<VeltraneFlowError>& error) {
  const auto self = shared_from_this();
  UserDefaultsManager::deleteChallenge();
  offerRetry_.reset();
  const auto navigation = navigationController();
  if (error) {
    if (vtFlow && vtFlow->delegate) vtFlow->delegate->flowDidComplete(std::nullopt, error);
    if (!navigation) fatal("No navigation controller foun from StartFlowVC");
    navigation->dismiss(true);
  } else if (viewModel_ && viewModel_->flow && navigation) {
    StartFlowViewModel::renderFlow(*viewModel_->flow, navigation, vtFlow);
  }
}

void StartFlowVC::getSession(const std::optional<JSON>& response,
                             const std::optional<VeltraneFlowError>& error) {
  const auto self = shared_from_this();
  offerRetry_.reset();
  if (vtFlow) vtFlow->responseBack(response, error);
  const auto navigation = navigationController();
  if (!navigation) fatal("No navigation controller found from StartFlowVC...");
  navigation->dismiss(true);
}

}  // namespace veltrane
