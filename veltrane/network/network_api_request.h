#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "veltrane/base/dictionary.h"
#include "veltrane/network/api_endpoint.h"

namespace veltrane {

/// A header of a request.
struct APIHTTPHeader {
  struct Authorization {
    std::string token;  // sent as "Authorization: Bearer token"
  };
  struct Custom {
    std::string name, value;
  };
  struct ContentType {};  // sent as "Content-Type: application/json"
  std::variant<Authorization, Custom, ContentType> header;

  static APIHTTPHeader authorization(std::string token) {
    return {Authorization{std::move(token)}};
  }
  static APIHTTPHeader custom(std::string name, std::string value) {
    return {Custom{std::move(name), std::move(value)}};
  }
  static APIHTTPHeader contentType() { return {ContentType{}}; }
};

/// Where the API lives: two absolute base URLs whose path is the API's version, without a trailing
/// slash. The build's VELTRANE_PRODUCTION_URL and VELTRANE_SANDBOX_URL unless a host sets others
/// before its first flow.
struct APIBaseURL {
  static std::string production();
  static std::string sandbox();
  static void setProduction(std::string url);
  static void setSandbox(std::string url);
};

/// One server call, described: which URL, which headers, which body. A value; the sandbox flag is
/// read from the settings once, here.
struct NetworkAPIRequestFor {
  struct Arguments {
    APIEndpoint endpoint;
    std::optional<std::vector<APIHTTPHeader>> headers = std::nullopt;
    std::optional<Dictionary> parameter = std::nullopt;
    /// Names in `parameter` whose values must not reach a log.
    std::vector<std::string> secretNames = {};
  };

  explicit NetworkAPIRequestFor(Arguments arguments);

  std::optional<Dictionary> parameter;
  APIEndpoint endpoint;
  std::string resourceURL;
  std::optional<std::vector<APIHTTPHeader>> headers;
  std::vector<std::string> secretNames;
};

/// Percent-encodes everything that may not stand in a URL's query; "/", "?", "=" and "&" stay.
std::string percentEncodedForQuery(std::string_view text);

/// True for HTTPS URLs with a host, and for HTTP ones whose host is a loopback address.
bool isAllowedURL(std::string_view url);

struct OS {
  /// The operating system's version as "major.minor.patch".
  static std::string getVersion();
};

}  // namespace veltrane
