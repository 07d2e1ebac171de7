#include "apps/sandbox/own_page.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace veltrane::sandbox {
namespace {

constexpr int kPortOfHttps = 443;

/// Browsers tell for whom they ask; who tells nothing is no browser that others can use.
bool isFromElsewhere(const httplib::Request& request) {
  if (!request.has_header("Sec-Fetch-Site")) return false;
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  return site != "same-origin" && site != "none";
}

}  // namespace

// Against names of other sites that lead here. Who asks at the port that HTTPS has anyway leaves
// it out.
bool isOwnHost(const std::string& host, int port) {
  static constexpr std::array<std::string_view, 3> names{"localhost", "127.0.0.1", "[::1]"};
  return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
    return host == std::string(name) + ":" + std::to_string(port) ||
           (port == kPortOfHttps && host == name);
  });
}

std::optional<std::string> whyRefused(const httplib::Request& request, int port,
                                      const std::string& path) {
  if (!isLoopbackAddress(request.remote_addr)) {
    return "This page is for the machine alone on which the sandbox runs.";
  }
  if (!isOwnHost(request.get_header_value("Host"), port)) {
    return "This page is only at https://localhost:" + std::to_string(port) + path + ".";
  }
  if (isFromElsewhere(request)) {
    return "Another site asked for this page. Type its address yourself.";
  }
  return std::nullopt;
}

void setPageHeaders(bool images, httplib::Response& response) {
  const std::string policy =
      "default-src 'none'; style-src 'self'; script-src 'self'; connect-src 'self'; form-action "
      "'self'; base-uri 'none'; frame-ancestors 'none'";
  response.set_header("Content-Security-Policy", policy + (images ? "; img-src 'self'" : ""));
  response.set_header("Cache-Control", "no-store");
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("X-Frame-Options", "DENY");
  response.set_header("Cross-Origin-Opener-Policy", "same-origin");
  response.set_header("Cross-Origin-Resource-Policy", "same-origin");
  // "no-referrer" would make browsers hide the origin of the page's own forms.
  response.set_header("Referrer-Policy", "same-origin");
}

bool isLoopbackAddress(const std::string& address) {
  return address.starts_with("127.") || address == "::1" || address.starts_with("::ffff:127.");
}

}  // namespace veltrane::sandbox
