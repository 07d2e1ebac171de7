#include "apps/sandbox/request_check.h"

#include <httplib.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::string_view kPictures = "/pictures/";
constexpr std::array<const char*, 5> kEventKeys{"eventName", "connectionId", "capabilityName", "id",
                                                "parameters"};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// ---- the path

struct Target {
  std::vector<std::string> segments;  // decoded, without "v1"
  std::optional<std::string> query;
};

std::vector<std::string> splitPath(std::string_view path) {
  std::vector<std::string> segments;
  while (!path.empty()) {
    path.remove_prefix(1);  // the slash
    const std::size_t end = std::min(path.find('/'), path.size());
    segments.push_back(httplib::detail::decode_url(std::string(path.substr(0, end)), false));
    path.remove_prefix(end);
  }
  return segments;
}

Target readTarget(const std::string& text) {
  Target target;
  std::string_view path = text;
  const std::size_t mark = path.find('?');
  if (mark != path.npos) {
    target.query = path.substr(mark + 1);
    path = path.substr(0, mark);
  }
  if (!path.starts_with("/v1/")) {
    throw Refusal("badPath", "The path must begin with \"/v1/\".");
  }
  target.segments = splitPath(path.substr(3));
  return target;
}

bool isStart(const std::vector<std::string>& segments) {
  return segments.size() == 5 && segments[0] == "auth" &&
         (segments[2] == "flows" || segments[2] == "policy") && segments[4] == "start";
}

bool isEvent(const std::vector<std::string>& segments) {
  return segments.size() == 6 && segments[0] == "auth" && segments[2] == "connections" &&
         segments[4] == "capabilities";
}

bool isStatus(const std::vector<std::string>& segments) {
  return segments.size() == 7 && segments[0] == "auth" && segments[2] == "user" &&
         segments[3] == "credentials" && segments[4] == "challenge" && segments[6] == "status";
}

void checkNotEmpty(const std::string& text, const std::string& what) {
  if (text.empty()) throw Refusal("badPath", "The path holds no " + what + ".");
}

std::string readInteractionId(const Target& target) {
  constexpr std::string_view key = "interactionId=";
  const std::string& query = target.query.value_or("");
  if (!query.starts_with(key) || query.find('&') != query.npos || query.size() == key.size()) {
    throw Refusal("badPath", "The query must be \"interactionId=\" and an id, and nothing else.");
  }
  return httplib::detail::decode_url(query.substr(key.size()), false);
}

// ---- the headers

bool hasHeader(const RecordedRequest& request, const std::string& name) {
  return std::any_of(request.headers.begin(), request.headers.end(), [&](const auto& header) {
    return ::strcasecmp(header.first.c_str(), name.c_str()) == 0;
  });
}

// An empty token leaves "Bearer ", whose blank some clients trim.
bool isBearer(std::string_view value) {
  if (value == "Bearer" || value == "Bearer ") return true;
  constexpr std::string_view scheme = "Bearer ";
  return value.starts_with(scheme) && value.find_first_of(" \t", scheme.size()) == value.npos;
}

/// Three numbers with dots between them.
bool isVersion(std::string_view text) {
  for (int part = 0; part < 3; ++part) {
    const auto digits = std::find_if_not(text.begin(), text.end(), isDigit) - text.begin();
    if (digits == 0) return false;
    text.remove_prefix(static_cast<std::size_t>(digits));
    if (part == 2) break;
    if (!text.starts_with('.')) return false;
    text.remove_prefix(1);
  }
  return text.empty();
}

bool isAgent(std::string_view value) {
  constexpr std::string_view start = "ios, sdkVersion: 0.0.1, OSVersion: ";
  return value.starts_with(start) && isVersion(value.substr(start.size()));
}

void checkHeaders(const RecordedRequest& request) {
  if (!isBearer(onlyHeader(request, "Authorization"))) {
    throw Refusal("badHeader", "The header \"Authorization\" must be \"Bearer \" and a token.");
  }
  if (!isAgent(onlyHeader(request, "vt-agent"))) {
    throw Refusal("badHeader",
                  "The header \"vt-agent\" must be \"ios, sdkVersion: 0.0.1, OSVersion: \" and a "
                  "version of three numbers.");
  }
}

void checkContentType(const RecordedRequest& request) {
  if (onlyHeader(request, "Content-Type") != "application/json") {
    throw Refusal("badHeader", "The header \"Content-Type\" must be \"application/json\".");
  }
}

// ---- the body

void checkEventBody(const json& body) {
  for (const char* key : kEventKeys) {
    const std::string name = "The body's \"" + std::string(key) + "\"";
    if (!body.contains(key)) throw Refusal("badBody", name + " is missing.");
    const bool isParameters = std::string_view(key) == "parameters";
    if (isParameters && !body[key].is_object()) throw Refusal("badBody", name + " is no object.");
    if (!isParameters && !body[key].is_string()) throw Refusal("badBody", name + " is no text.");
  }
  for (const auto& entry : body.items()) {
    if (std::find(kEventKeys.begin(), kEventKeys.end(), entry.key()) == kEventKeys.end()) {
      throw Refusal("badBody", "The body holds \"" + entry.key() + "\", which no event has.");
    }
  }
  if (body["eventName"] == "") throw Refusal("badBody", "The body's \"eventName\" is empty.");
}

StartRequest readStart(const Target& target, const RecordedRequest& request) {
  if (target.query) throw Refusal("badPath", "The path of a start has no query.");
  checkNotEmpty(target.segments[1], "company id");
  checkNotEmpty(target.segments[3], "flow or policy id");
  return {.companyId = target.segments[1],
          .flowId = target.segments[3],
          .body = std::make_shared<const json>(request.body.empty() ? json() : readBody(request))};
}

EventRequest readEvent(const Target& target, const RecordedRequest& request) {
  const std::string interactionId = readInteractionId(target);
  json body = readBody(request);
  checkEventBody(body);
  std::string eventName = body["eventName"].get<std::string>();
  return {.companyId = target.segments[1],
          .connectionId = target.segments[3],
          .capabilityName = target.segments[5],
          .interactionId = interactionId,
          .eventName = std::move(eventName),
          .body = std::make_shared<const json>(std::move(body))};
}

StatusRequest readStatus(const Target& target, const RecordedRequest& request) {
  checkNotEmpty(target.segments[1], "company id");
  checkNotEmpty(target.segments[5], "challenge id");
  if (hasHeader(request, "Content-Type")) {
    throw Refusal("badHeader", "The header \"Content-Type\" is not for a request without a body.");
  }
  if (!request.body.empty()) throw Refusal("badBody", "A question for a status has no body.");
  return {.companyId = target.segments[1],
          .challengeId = target.segments[5],
          .interactionId = readInteractionId(target)};
}

/// A plain request: a token has no business on its way to a picture.
PictureRequest readPicture(const RecordedRequest& request) {
  if (request.method != "GET") throw Refusal("badMethod", "The method must be GET.");
  if (hasHeader(request, "Authorization")) {
    throw Refusal("badHeader", "The header \"Authorization\" is not for pictures.");
  }
  const std::string path = request.path.substr(0, request.path.find('?'));
  return {.segments = splitPath(std::string_view(path).substr(kPictures.size() - 1))};
}

// ---- ids

void checkSame(const std::string& inBody, const std::string& inPath, const std::string& name) {
  if (inBody == inPath) return;
  throw Refusal("wrongId", "The " + name + " of the body is \"" + inBody +
                               "\", that of the path is \"" + inPath + "\".");
}

bool offers(const DocumentIds& document, const EventRequest& event) {
  const std::pair wanted(event.connectionId, event.capabilityName);
  const auto& all = document.connections;
  return std::find(all.begin(), all.end(), wanted) != all.end();
}

}  // namespace

std::string onlyHeader(const RecordedRequest& request, const std::string& name) {
  std::vector<std::string> values;
  for (const auto& [key, value] : request.headers) {
    if (::strcasecmp(key.c_str(), name.c_str()) == 0) values.push_back(value);
  }
  if (values.empty()) throw Refusal("badHeader", "The header \"" + name + "\" is missing.");
  if (values.size() > 1) throw Refusal("badHeader", "The header \"" + name + "\" comes twice.");
  return values.front();
}

json readBody(const RecordedRequest& request) {
  json body = json::parse(request.body, nullptr, false);
  if (body.is_discarded()) throw Refusal("badBody", "The body is no JSON.");
  if (!body.is_object()) throw Refusal("badBody", "The body is no JSON object.");
  return body;
}

CheckedRequest checkedRequest(const RecordedRequest& request) {
  if (request.path.starts_with(kPictures)) return readPicture(request);
  const Target target = readTarget(request.path);
  const bool start = isStart(target.segments);
  const bool status = isStatus(target.segments);
  if (!start && !status && !isEvent(target.segments)) {
    throw Refusal("badPath", "There is nothing at this path.");
  }
  if (request.method != "POST") throw Refusal("badMethod", "The method must be POST.");
  checkHeaders(request);
  if (status) return readStatus(target, request);
  checkContentType(request);
  if (start) return readStart(target, request);
  return readEvent(target, request);
}

void checkIds(const StatusRequest& request, const Challenge& challenge) {
  if (request.interactionId != challenge.interactionId) {
    throw Refusal("wrongId", "This challenge belongs to another interaction.");
  }
  if (request.companyId != challenge.companyId) {
    throw Refusal("wrongId", "This challenge belongs to another company.");
  }
}

void checkIds(const EventRequest& event, const Run& run) {
  const std::string connectionId = (*event.body)["connectionId"].get<std::string>();
  const std::string capabilityName = (*event.body)["capabilityName"].get<std::string>();
  const std::string id = (*event.body)["id"].get<std::string>();
  checkSame(connectionId, event.connectionId, "connectionId");
  checkSame(capabilityName, event.capabilityName, "capabilityName");
  const auto document = std::find_if(run.documents.rbegin(), run.documents.rend(),
                                     [&](const DocumentIds& ids) { return ids.id == id; });
  if (document == run.documents.rend()) {
    throw Refusal("wrongId", "No document of this interaction has the id \"" + id + "\".");
  }
  if (document->companyId != event.companyId) {
    throw Refusal("wrongId", "This interaction belongs to another company.");
  }
  if (!offers(*document, event)) {
    throw Refusal("wrongId", "The document has no connection \"" + connectionId +
                                 "\" with the capability \"" + capabilityName + "\".");
  }
}

}  // namespace veltrane::sandbox
