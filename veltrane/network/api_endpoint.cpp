#include "veltrane/network/api_endpoint.h"

#include <array>
#include <utility>

namespace veltrane {
namespace {

constexpr std::array<std::pair<APIHTTPMethod, std::string_view>, 5> kMethods = {{
    {APIHTTPMethod::get, "GET"},
    {APIHTTPMethod::post, "POST"},
    {APIHTTPMethod::put, "PUT"},
    {APIHTTPMethod::del, "DELETE"},
    {APIHTTPMethod::patch, "PATCH"},
}};

struct PathOf {
  std::string operator()(const FlowEndpoint::StartFlowWithId& e) const {
    return "/auth/" + e.companyId + "/flows/" + e.flowId + "/start";
  }
  std::string operator()(const FlowEndpoint::StartFlowWithPolicyId& e) const {
    return "/auth/" + e.companyId + "/policy/" + e.policyId + "/start";
  }
  std::string operator()(const PollForChallengeEndpoint::Start& e) const {
    return "/auth/" + e.companyId + "/user/credentials/request/" + e.requestId +
           "/status?interval=" + e.interval + "&retries=" + e.retries +
           "&interactionId=" + e.interactionId;
  }
  std::string operator()(const PollForChallengeEndpoint::ClientSidePoll& e) const {
    return "/auth/" + e.companyId + "/user/credentials/challenge/" + e.challengeId +
           "/status?interactionId=" + e.interactionId;
  }
};

}  // namespace

std::string_view rawValue(APIHTTPMethod method) {
  return kMethods[static_cast<std::size_t>(method)].second;
}

std::optional<APIHTTPMethod> apiHTTPMethod(std::string_view rawValue) {
  for (const auto& [method, text] : kMethods) {
    if (text == rawValue) return method;
  }
  return std::nullopt;
}

std::string RegisterEndpoint::path() const {
  switch (operation) {
    case Case::initiate:
      return "/users";
    case Case::fidoRegisterInitiate:
      return "/register/initiate";
    case Case::fidoRegisterComplete:
      break;
  }
  return "/register/complete";
}

std::string AuthEndpoint::path() const {
  return operation == Case::initiate ? "/auth/initiate" : "/auth/complete";
}

std::string FlowEndpoint::path() const {
  return std::visit(PathOf(), operation);
}

std::string Tokenpoint::path() const {
  return "/users/" + id + "/sdktoken";
}

std::string PollForChallengeEndpoint::path() const {
  return std::visit(PathOf(), operation);
}

std::string SDKEndpoint::path() const {
  return "/auth/" + companyId + "/connections/sdk/initialize";
}

std::string EventEndpoint::path() const {
  return "/auth/" + companyId + "/connections/" + connectionId + "/capabilities/" + capabilityName +
         "?interactionId=" + interactionId;
}

std::string path(const APIEndpoint& endpoint) {
  return std::visit([](const auto& e) { return e.path(); }, endpoint);
}

APIHTTPMethod method(const APIEndpoint& endpoint) {
  return std::visit([](const auto& e) { return e.method(); }, endpoint);
}

}  // namespace veltrane
