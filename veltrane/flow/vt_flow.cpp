#include "veltrane/flow/vt_flow.h"

#include <utility>

#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/toolkit/storyboard.h"

namespace veltrane {

std::shared_ptr<VTFlow> VTFlow::make(const Arguments& arguments) {
  std::shared_ptr<VTFlow> flow(new VTFlow());
  flow->companyId = arguments.companyId;
  flow->rpId = arguments.rpId;
  flow->origin = arguments.origin;

  UserDefaultsManager::saveApiKey(arguments.vtApiKey);
  UserDefaultsManager::saveRPId(arguments.rpId);
  UserDefaultsManager::saveOrigin(arguments.origin);
  UserDefaultsManager::saveTimeout(arguments.responseTimeOut);
  UserDefaultsManager::saveIsSandbox(arguments.isSandbox);
  if (const auto& theme = arguments.theme) {
    UserDefaultsManager::saveUITheme({{"backgroundColor", theme->backgroundColor},
                                      {"buttonBackgroundColor", theme->buttonBackgroundColor},
                                      {"buttonTextColor", theme->buttonTextColor},
                                      {"labelTextColor", theme->labelTextColor}});
  } else {
    UserDefaultsManager::deleteUITheme();
  }
  return flow;
}

void VTFlow::runFlow(ByFlowId arguments) {
  if (arguments.accessToken) UserDefaultsManager::saveAccessToken(*arguments.accessToken);
  startFlow(std::move(arguments.flowId), std::nullopt, std::move(arguments.props),
            std::move(arguments.fromViewController));
}

void VTFlow::runFlow(ByPolicyId arguments) {
  if (arguments.accessToken) UserDefaultsManager::saveAccessToken(*arguments.accessToken);
  startFlow(std::nullopt, std::move(arguments.policyId), std::move(arguments.props),
            std::move(arguments.fromViewController));
}

void VTFlow::startFlow(std::optional<std::string> flowId, std::optional<std::string> policyId,
                       std::optional<Dictionary> props, std::shared_ptr<ViewController> from) {
  if (!flowId && !policyId) {
    responseBack(std::nullopt,
                 VeltraneFlowError::veltraneError("Both flowId and policyId can not be nil. Please "
                                                  "supply at least one of them."));
    return;
  }
  MainQueue::current().async([self = shared_from_this(), flowId = std::move(flowId),
                              policyId = std::move(policyId), props = std::move(props),
                              from = std::move(from)]() mutable {
    self->presentStartScreen(std::move(flowId), std::move(policyId), std::move(props), from);
  });
}

void VTFlow::presentStartScreen(std::optional<std::string> flowId,
                                std::optional<std::string> policyId,
                                std::optional<Dictionary> props,
                                const std::shared_ptr<ViewController>& from) {
  const auto& storyboard = Platform::current().storyboard;
  const auto controller =
      storyboard ? storyboard->instantiateViewController("StartFlowVC") : nullptr;
  const auto start = std::dynamic_pointer_cast<FlowStartScreen>(controller);
  if (!start || !from) {
    responseBack(std::nullopt,
                 VeltraneFlowError::veltraneError("Unable to present view controller..."));
    return;
  }
  start->companyId = companyId;
  start->flowId = std::move(flowId);
  start->policyId = std::move(policyId);
  start->vtFlow = shared_from_this();
  start->props = std::move(props);
  const auto navigation = NavigationController::make(controller);
  navigation->modalPresentationStyle = ModalPresentationStyle::fullScreen;
  from->present(navigation, true);
}

void VTFlow::responseBack(const std::optional<JSON>& response,
                          const std::optional<VeltraneFlowError>& error) {
  if (error && delegate) delegate->flowDidComplete(std::nullopt, error);
  if (response && delegate) delegate->flowDidComplete(response, std::nullopt);
}

}  // namespace veltrane
