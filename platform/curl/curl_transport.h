#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/network/http_transport.h"

namespace veltrane::curl {

class Worker;

struct Options {
  /// A PEM bundle of certificate authorities to trust instead of the system's. One that cannot be
  /// read makes every request fail; it never widens trust.
  std::optional<std::filesystem::path> authorityFile;

  /// Told, before the completion, why a request gets no response: a line for people with the
  /// server's scheme, host and port, never with anything that was sent. On the transport's thread;
  /// must not block. Not told of requests that were cancelled or dropped.
  std::function<void(const std::string&)> report;

  /// How long the thread waits before it loads libcurl, unless `CurlTransport::hurry` comes first.
  /// The system's loader serves one thread at a time: a program that loads libraries of its own for
  /// its first frame gets them sooner. Requests wait that long at most.
  std::chrono::milliseconds headStart{0};
};

/// The HTTP port on libcurl, with one thread of its own for all exchanges.
///
/// Every request has a connection to itself, so no state of one leaks into the next; the TLS
/// session is resumed where the server allows it. Certificates and host names are always verified,
/// TLS 1.2 is the least. Plain HTTP works to loopback addresses alone. The environment's proxies
/// apply, except to loopback addresses.
///
/// Redirects: at most five, to HTTPS only. 301 and 302 turn a POST into a GET, 303 anything; 307
/// and 308 keep method and body. The authorization header stays behind for good at the first
/// redirect to another host or port. Both time-outs run from `send` on, time in redirects counts.
///
/// `maxBodySize` counts every hop's body as it arrives, no encodings are asked for; more than
/// 256 KiB of response headers fail too. A request whose headers could not be sent as they are
/// (control characters) fails without being sent.
///
/// A request's body is wiped as soon as nothing of it is sent any more. What libcurl copied into
/// its own buffers, some 64 KiB at most, is given back as it is.
///
/// libcurl is loaded by that thread, beside whatever the program does meanwhile. Where it cannot be
/// had, every request ends without a response and `report` is told why.
///
/// Completions run on the transport's thread, one at a time: a slow one delays all others.
/// Dropping the transport ends what is under way in silence, as dropping every handle would, and
/// waits for a completion that is running; it may be done inside a completion, which then runs on.
/// Handles and tasks may outlive the transport. One that still lives when the program ends, in a
/// static object say, is ended as the first thing that `exit` does.
class CurlTransport final : public HTTPTransport {
 public:
  explicit CurlTransport(Options options);
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

  [[nodiscard]] std::unique_ptr<HTTPRequestHandle> send(HTTPRequest request,
                                                        Completion completion) override;
  std::vector<std::shared_ptr<HTTPTask>> tasks() const override;

  /// Ends the program's head start. Any thread.
  void hurry();

 private:
  std::shared_ptr<Worker> worker_;
};

/// A transport and its thread.
std::shared_ptr<CurlTransport> make(Options options = {});

}  // namespace veltrane::curl
