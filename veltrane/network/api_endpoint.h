#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace veltrane {

enum class APIHTTPMethod : std::uint8_t { get, post, put, del, patch };

std::string_view rawValue(APIHTTPMethod method);
/// Exact: "GET", "POST", "PUT", "DELETE", "PATCH"; nothing for any other text.
std::optional<APIHTTPMethod> apiHTTPMethod(std::string_view rawValue);

// The server's operations. Each has a path, relative to the API's base URL and not yet escaped, and
// a method. A struct is one case of its family; its members are the identifiers the path needs.

struct RegisterEndpoint {
  enum class Case : std::uint8_t { initiate, fidoRegisterInitiate, fidoRegisterComplete };
  Case operation;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
  friend bool operator==(const RegisterEndpoint&, const RegisterEndpoint&) = default;
};

struct AuthEndpoint {
  enum class Case : std::uint8_t { initiate, complete };
  Case operation;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
  friend bool operator==(const AuthEndpoint&, const AuthEndpoint&) = default;
};

struct FlowEndpoint {
  struct StartFlowWithId {
    std::string companyId, flowId;
  };
  struct StartFlowWithPolicyId {
    std::string companyId, policyId;
  };
  std::variant<StartFlowWithId, StartFlowWithPolicyId> operation;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
};

struct Tokenpoint {
  std::string id;  // of a user or a company

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::get; }
};

struct PollForChallengeEndpoint {
  struct Start {
    std::string companyId, requestId, interval, retries, interactionId;
  };
  struct ClientSidePoll {
    std::string companyId, challengeId, interactionId;
  };
  std::variant<Start, ClientSidePoll> operation;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
};

struct SDKEndpoint {
  std::string companyId;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
};

struct EventEndpoint {
  std::string interactionId, companyId, connectionId, capabilityName;

  std::string path() const;
  APIHTTPMethod method() const { return APIHTTPMethod::post; }
};

using APIEndpoint = std::variant<RegisterEndpoint, AuthEndpoint, FlowEndpoint, Tokenpoint,
                                 PollForChallengeEndpoint, SDKEndpoint, EventEndpoint>;

std::string path(const APIEndpoint& endpoint);
APIHTTPMethod method(const APIEndpoint& endpoint);

}  // namespace veltrane
