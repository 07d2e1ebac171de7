#include "apps/sandbox/approve/approve_page.h"

#include <httplib.h>

#include <algorithm>
#include <string_view>

#include "apps/sandbox/approve/assets.h"
#include "apps/sandbox/approve/page_html.h"
#include "apps/sandbox/own_page.h"

namespace veltrane::sandbox {
namespace {

constexpr std::string_view kPath = "/approve";
constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr const char* kAnswered = "answered";

void refuse(const std::string& reason, int status, httplib::Response& response) {
  response.status = status;
  response.set_content(refusalHtml(reason), kHtml);
}

bool isFromThisPage(const httplib::Request& request) {
  return request.get_header_value("Origin") == "https://" + request.get_header_value("Host");
}

PageMessage outcomeOf(const Challenge& challenge) {
  if (challenge.state == Challenge::State::approved) return {"Approved: " + challenge.purpose};
  if (challenge.state == Challenge::State::denied) return {"Denied: " + challenge.purpose};
  return {};
}

std::string lateMessage(const Challenge& challenge) {
  switch (challenge.state) {
    case Challenge::State::approved:
      return "This was answered before, and approved: " + challenge.purpose;
    case Challenge::State::denied:
      return "This was answered before, and denied: " + challenge.purpose;
    default:
      return "This came too late; it is no longer open: " + challenge.purpose;
  }
}

}  // namespace

bool ApprovePage::isItsPath(const std::string& path) {
  return path == kPath || path.starts_with("/approve/");
}

void ApprovePage::answer(const httplib::Request& request, int port, httplib::Response& response) {
  setPageHeaders(false, response);
  if (const auto reason = whyRefused(request, port, std::string(kPath))) {
    return refuse(*reason, 403, response);
  }
  if (request.method == "POST") return answerForm(request, response);
  if (request.method != "GET" && request.method != "HEAD") {
    return refuse("This page is shown by GET and answered by POST.", 405, response);
  }
  show(request, response);
}

void ApprovePage::show(const httplib::Request& request, httplib::Response& response) const {
  if (request.path == "/approve/page.css") return response.set_content(kPageCss, "text/css");
  if (request.path == "/approve/page.js") return response.set_content(kPageJs, "text/javascript");
  if (request.path != kPath) return refuse("There is no such page.", 404, response);
  PageMessage message;
  if (request.has_param(kAnswered)) {
    const auto challenge = challenges_.find(request.get_param_value(kAnswered));
    if (challenge) message = outcomeOf(*challenge);
  }
  response.set_content(pageHtml(challenges_.openOnes(), message), kHtml);
}

void ApprovePage::answerForm(const httplib::Request& request, httplib::Response& response) {
  if (!isFromThisPage(request)) {
    return refuse("An answer must come from this page itself.", 403, response);
  }
  const std::string id = request.path.substr(std::min(request.path.size(), kPath.size() + 1));
  const std::string answer = request.get_param_value("answer");
  if (answer != "approve" && answer != "deny") {
    return refuse("The answer must be \"approve\" or \"deny\".", 400, response);
  }
  switch (challenges_.answer(id, request.get_param_value("token"), answer == "approve")) {
    case Challenges::Outcome::taken:
      return response.set_redirect("/approve?answered=" + id, 303);
    case Challenges::Outcome::wrongToken:
      return refuse("The form's token is not that of this request.", 403, response);
    case Challenges::Outcome::unknown:
      return refuse("There is no such request.", 404, response);
    case Challenges::Outcome::late:
      break;
  }
  response.status = 409;
  const auto challenge = challenges_.find(id);
  response.set_content(
      pageHtml(challenges_.openOnes(), {challenge ? lateMessage(*challenge) : "", true}), kHtml);
}

}  // namespace veltrane::sandbox
