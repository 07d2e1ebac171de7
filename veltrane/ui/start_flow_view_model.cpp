#include "veltrane/ui/start_flow_view_model.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "veltrane/engine/generic_view_model.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/open.h"

namespace veltrane {
namespace {

constexpr std::array<std::string_view, 8> kFirstScreens = {
    "ScreenTemplate1",          "UsernameScreenTemplate", "CustomScreenTemplate",
    "PhoneScreenTemplate",      "MessageScreen",          "FaceImageCaptureTemplate",
    "ThirdPartyiFrameTemplate", "ThirdPartyTemplate"};

constexpr const char* kUnsupportedFlow =
    "Unsupported Flow. Make sure you have configured flow for second factor authentication using "
    "following connectors. Fido2/WebAuthn, SMS, Telesign SMS, Voice OTP, Passwordless Push, Jumio "
    "Identity Verification, onFido Document Verification, Screen View, Face Image Capture";

std::optional<FlowEndpoint> endpointFor(const std::string& companyId,
                                        const std::optional<std::string>& flowId,
                                        const std::optional<std::string>& policyId) {
  if (flowId) return FlowEndpoint{FlowEndpoint::StartFlowWithId{companyId, *flowId}};
  if (policyId) return FlowEndpoint{FlowEndpoint::StartFlowWithPolicyId{companyId, *policyId}};
  return std::nullopt;
}

/// An object, or the error that stands for everything else.
struct StartAnswer {
  JSON object;
  std::optional<VeltraneFlowError> error;
};

StartAnswer readAnswer(const std::optional<std::string>& body,
                       std::optional<VeltraneFlowError> error) {
  if (error) return {{}, std::move(error)};
  auto parsed = JSON::parse(body.value_or(std::string()));
  if (parsed.ok() && parsed.value.isObject()) return {std::move(parsed.value), std::nullopt};
  return {{}, VeltraneFlowError::badRequest("Invalid JSON response from server.")};
}

bool isSession(const JSON& answer) {
  return answer["success"].boolean() == true && answer["access_token"].text().has_value();
}

}  // namespace

void StartFlowViewModel::getFlow(const std::optional<std::string>& companyId,
                                 const std::optional<std::string>& flowId,
                                 const std::optional<std::string>& policyId,
                                 const std::optional<Dictionary>& param) {
  const auto number = ++latestRequest_;
  const auto answer = [weak = weak_from_this(), number](StartAnswer answer) {
    MainQueue::current().async([weak, number, answer = std::move(answer)] {
      const auto self = weak.lock();
      if (self && number == self->latestRequest_) self->answered(answer.object, answer.error);
    });
  };
  const auto endpoint = endpointFor(companyId.value_or(std::string()), flowId, policyId);
  if (!endpoint) {
    auto error = VeltraneFlowError::badRequest(
        "Both flowId and policyId should not be null. Please supply at least one of them");
    error.message = "Invalid FlowId or PolicyId";
    return answer({{}, std::move(error)});
  }
  const NetworkAPIRequestFor request({
      .endpoint = *endpoint,
      .headers = {{APIHTTPHeader::authorization(
                       UserDefaultsManager::getAccessToken().value_or(std::string())),
                   APIHTTPHeader::contentType()}},
      .parameter = param,
  });
  request_ = NetworkManager::getRequest(
      request, [answer](std::optional<std::string> body, std::optional<VeltraneFlowError> error) {
        answer(readAnswer(body, std::move(error)));
      });
}

void StartFlowViewModel::answered(const JSON& object,
                                  const std::optional<VeltraneFlowError>& error) {
  const auto listener = delegate.lock();
  if (!listener) return;
  if (!error && isSession(object)) return listener->getSession(object, std::nullopt);
  if (!error) flow = object;
  listener->getFlowDataComplete(error);
}

void StartFlowViewModel::renderFlow(const JSON& flow,
                                    const std::shared_ptr<NavigationController>& nav,
                                    const std::shared_ptr<VTFlow>& vtFlow) {
  const JSON first = flow["screen"]["userViews"][0];
  const auto templateName = first["screenTemplateName"].text().value_or("");
  if (templateName == "MfaScreen1") {
    Open::mfaScreen1VC(
        {.vtFlow = vtFlow, .from = nav, .flow = flow, .isModel = false, .makeItRoot = true});
  } else if (std::find(kFirstScreens.begin(), kFirstScreens.end(), templateName) !=
             kFirstScreens.end()) {
    Open::screenTemplate1VC({.vtFlow = vtFlow,
                             .from = nav,
                             .flow = flow,
                             .userViewProps = GenericViewModel::getUserViewProps(flow),
                             .userViewIndex = 0,
                             .isModel = false,
                             .makeItRoot = true});
  } else {
    if (vtFlow && vtFlow->delegate) {
      vtFlow->delegate->flowDidComplete(std::nullopt,
                                        VeltraneFlowError::veltraneError(kUnsupportedFlow));
    }
    nav->dismiss(true);
  }
}

}  // namespace veltrane
