#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "veltrane/network/http_transport.h"

namespace veltrane::curl {

/// One request on the wire; redirects make several of one exchange.
struct Hop {
  std::string method;
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  /// Whether the exchange's body goes along.
  bool withBody = false;
};

/// Where a URL leads, as far as trust is concerned. Lower case; the port is always there.
struct Origin {
  std::string scheme, host, port;

  bool isLoopback() const;
  friend bool operator==(const Origin&, const Origin&) = default;
};

std::optional<Origin> originOf(const std::string& url);

/// The first hop, or nothing when the request may not be sent: plain HTTP to the network, a URL
/// that is none, header or method texts that would break out of their line.
std::optional<Hop> firstHop(const HTTPRequest& request);

/// Whether a response of this status, given a location, is a redirect to be followed.
bool isRedirect(long status);

/// The hop a redirect asks for, or nothing when it leads to anything but HTTPS.
std::optional<Hop> redirected(Hop hop, long status, const std::string& location);

}  // namespace veltrane::curl
