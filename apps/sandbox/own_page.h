#pragma once

#include <optional>
#include <string>

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace veltrane::sandbox {

/// Rules of the pages that people open on this machine. They answer this machine alone, under a
/// name of this machine, and nothing that another site asks for: a browser says whom it asks for.
///
/// Why a request is not answered; nothing when it may be. `port`: of the server; `path`: of the
/// page.
std::optional<std::string> whyRefused(const httplib::Request& request, int port,
                                      const std::string& path);

/// Whether a client that asks for this host, port included, means this machine by one of its names.
bool isOwnHost(const std::string& host, int port);

/// Nothing from anywhere but this server, in nobody's frame, and no trace in a cache. `images`:
/// whether the page may show any.
void setPageHeaders(bool images, httplib::Response& response);

/// Whether this address of a client is one of this machine's own: 127.0.0.0/8 or ::1.
bool isLoopbackAddress(const std::string& address);

}  // namespace veltrane::sandbox
