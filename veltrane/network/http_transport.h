#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veltrane {

/// What a request is for, so that whoever watches the traffic can tell a screen's own calls from
/// those that go on by themselves.
enum class RequestPurpose : std::uint8_t { call, polling, picture };

struct HTTPRequest {
  std::string method;
  /// Absolute, already percent-encoded; HTTPS, or HTTP to a loopback address.
  std::string url;
  /// In order; names are unique.
  std::vector<std::pair<std::string, std::string>> headers;
  std::optional<std::string> body;
  /// Seconds without any progress, and seconds in all. Finite and above zero.
  double timeoutForRequest = 120;
  double timeoutForResource = 120;
  /// Bytes of a response body beyond which the request fails.
  std::size_t maxBodySize = std::size_t{16} << 20;
  RequestPurpose purpose = RequestPurpose::call;
  /// Names in the body whose values are secrets, for whoever writes requests to a log.
  std::vector<std::string> secretNames;
};

struct HTTPResponse {
  int status = 0;
  /// Absent only where a transport knows of responses without one.
  std::optional<std::string> body;
};

enum class HTTPTaskState : std::uint8_t { running, canceling, completed };

/// One exchange under way. Any thread.
class HTTPTask {
 public:
  virtual ~HTTPTask() = default;
  virtual const std::string& originalURL() const = 0;
  virtual HTTPTaskState state() const = 0;
  /// Ends the exchange; its completion hears of it as of a request without a response.
  virtual void cancel() = 0;
};

/// Keeps an exchange wanted. Dropping it ends the exchange in silence: its completion never starts
/// afterwards, and if it is running on another thread, dropping waits for it to end.
class HTTPRequestHandle {
 public:
  virtual ~HTTPRequestHandle() = default;
};

/// Port: HTTP/1.1 or newer over TLS with verified certificates.
///
/// `send` and `tasks` may be called from any thread. The completion runs exactly once, on a thread
/// of the adapter's, unless the handle is dropped before; no response (refused, timed out, cut
/// short, too large, cancelled, redirected too often or to something that is not HTTPS) is
/// `nullopt`. It may send again and drop handles, its own included. An adapter wipes a body once it
/// has been sent, as there may be a password or a face in it.
class HTTPTransport {
 public:
  using Completion = std::function<void(std::optional<HTTPResponse>)>;

  virtual ~HTTPTransport() = default;
  [[nodiscard]] virtual std::unique_ptr<HTTPRequestHandle> send(HTTPRequest request,
                                                                Completion completion) = 0;
  /// All exchanges that have not completed, oldest first.
  virtual std::vector<std::shared_ptr<HTTPTask>> tasks() const = 0;
};

}  // namespace veltrane
