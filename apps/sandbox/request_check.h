#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "apps/sandbox/challenges.h"
#include "apps/sandbox/request_log.h"
#include "apps/sandbox/runs.h"

namespace veltrane::sandbox {

/// A request that is not answered as it wished; `what()` tells its sender why.
class Refusal : public std::runtime_error {
 public:
  Refusal(std::string code, const std::string& message, int status = 400)
      : std::runtime_error(message), code_(std::move(code)), status_(status) {}
  const std::string& code() const { return code_; }
  int status() const { return status_; }

 private:
  std::string code_;
  int status_;
};

struct StartRequest {
  std::string companyId;
  std::string flowId;                          ///< Or the policy's id.
  std::shared_ptr<const nlohmann::json> body;  ///< Never empty; JSON's null when none came.
};

struct EventRequest {
  std::string companyId;
  std::string connectionId;
  std::string capabilityName;
  std::string interactionId;
  std::string eventName;
  std::shared_ptr<const nlohmann::json> body;  ///< Never empty.
};

struct StatusRequest {
  std::string companyId;
  std::string challengeId;
  std::string interactionId;
};

struct PictureRequest {
  std::vector<std::string> segments;  ///< Of the path, behind "pictures".
};

using CheckedRequest = std::variant<StartRequest, EventRequest, StatusRequest, PictureRequest>;

/// The value of a header that has to come once. Throws Refusal.
std::string onlyHeader(const RecordedRequest& request, const std::string& name);

/// The body, a JSON object. Throws Refusal.
nlohmann::json readBody(const RecordedRequest& request);

/// Reads a request and holds it to its form: path, method, headers and the shape of its body.
/// Throws Refusal.
CheckedRequest checkedRequest(const RecordedRequest& request);

/// Holds an event's ids to the documents of its run. Throws Refusal.
void checkIds(const EventRequest& event, const Run& run);

/// Holds a question for a status to the challenge it names. Throws Refusal.
void checkIds(const StatusRequest& request, const Challenge& challenge);

}  // namespace veltrane::sandbox
