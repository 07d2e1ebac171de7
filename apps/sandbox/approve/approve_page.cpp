#include "apps/sandbox/approve/approve_page.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "apps/sandbox/approve/assets.h"
#include "apps/sandbox/approve/page_html.h"

namespace veltrane::sandbox {
namespace {

constexpr std::string_view kPath = "/approve";
constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr const char* kAnswered = "answered";

void refuse(const std::string& reason, int status, httplib::Response& response) {
  response.status = status;
  response.set_content(refusalHtml(reason), kHtml);
}

/// Nothing from anywhere but this server, in nobody's frame, and no trace in a cache.
void setHeaders(httplib::Response& response) {
  response.set_header("Content-Security-Policy",
                      "default-src 'none'; style-src 'self'; script-src 'self'; connect-src "
                      "'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'");
  response.set_header("Cache-Control", "no-store");
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("X-Frame-Options", "DENY");
  response.set_header("Cross-Origin-Opener-Policy", "same-origin");
  response.set_header("Cross-Origin-Resource-Policy", "same-origin");
  // "no-referrer" would make browsers hide the origin of the page's own forms.
  response.set_header("Referrer-Policy", "same-origin");
}

constexpr int kPortOfHttps = 443;

/// Against names of other sites that lead here. Who asks at the port that HTTPS has anyway leaves
/// it out.
bool isOwnHost(const std::string& host, int port) {
  static constexpr std::array<std::string_view, 3> names{"localhost", "127.0.0.1", "[::1]"};
  return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
    return host == std::string(name) + ":" + std::to_string(port) ||
           (port == kPortOfHttps && host == name);
  });
}

/// Browsers tell for whom they ask; who tells nothing is no browser that others can use.
bool isFromElsewhere(const httplib::Request& request) {
  if (!request.has_header("Sec-Fetch-Site")) return false;
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  return site != "same-origin" && site != "none";
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

bool isLoopbackAddress(const std::string& address) {
  return address.starts_with("127.") || address == "::1" || address.starts_with("::ffff:127.");
}

bool ApprovePage::isItsPath(const std::string& path) {
  return path == kPath || path.starts_with("/approve/");
}

void ApprovePage::answer(const httplib::Request& request, int port, httplib::Response& response) {
  setHeaders(response);
  if (!isLoopbackAddress(request.remote_addr)) {
    return refuse("This page is for the machine alone on which the sandbox runs.", 403, response);
  }
  if (!isOwnHost(request.get_header_value("Host"), port)) {
    return refuse("This page is only at https://localhost:" + std::to_string(port) + "/approve.",
                  403, response);
  }
  if (isFromElsewhere(request)) {
    return refuse("Another site asked for this page. Type its address yourself.", 403, response);
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
