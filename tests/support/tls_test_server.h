#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/test_authority.h"

struct ssl_st;
struct ssl_ctx_st;

namespace veltrane::testing {

struct TestRequest {
  std::string method;
  std::string target;  // path and query as received
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  bool resumed = false;  // the connection continued an earlier TLS session

  /// The value of the first header of this name (any case), or nothing.
  const std::string* header(std::string_view name) const;
};

/// The server's end of a connection, for a route to answer on, rightly or wrongly. A client that is
/// gone makes writes return false and waits end.
class TestConnection {
 public:
  TestConnection(int socket, ssl_st* tls) : socket_(socket), tls_(tls) {}

  bool send(std::string_view bytes);
  /// A whole response; the connection stays open for more requests.
  bool respond(int status, std::string_view body = {},
               const std::vector<std::pair<std::string, std::string>>& headers = {});
  /// Reads on until the client closes.
  void waitForClose();
  /// Ends the TLS stream properly, or by a bare end of the TCP stream.
  void close();
  void closeAbruptly();
  /// Leaves in the middle of what the client sends, which the client's system hears as an error.
  void hangUp();

  /// The next request, false at the end of the stream.
  bool read(TestRequest& request);

 private:
  bool fill();

  int socket_;
  ssl_st* tls_;  // null: plain HTTP
  bool closed_ = false;
  std::string received_;
};

/// A scripted HTTP/1.1 server on a free loopback port: one function a path, a thread a connection,
/// connections kept alive for as long as the client likes.
class TlsTestServer {
 public:
  using Route = std::function<void(const TestRequest&, TestConnection&)>;

  struct Options {
    std::shared_ptr<TestAuthority> authority = TestAuthority::shared();
    bool plain = false;     // HTTP without TLS
    int maxTlsVersion = 0;  // OpenSSL's number; 0: the newest
    bool resumes = true;    // continues earlier TLS sessions
  };

  TlsTestServer() : TlsTestServer(Options{}) {}
  explicit TlsTestServer(Options options);
  /// Ends all connections and waits for their routes to return.
  ~TlsTestServer();
  TlsTestServer(const TlsTestServer&) = delete;
  TlsTestServer& operator=(const TlsTestServer&) = delete;

  /// `path` without a query; other paths answer 404.
  void route(std::string path, Route route);
  /// A route that always answers the same.
  void answer(std::string path, int status, std::string body,
              std::vector<std::pair<std::string, std::string>> headers = {});

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path, std::string_view host = "127.0.0.1") const;
  const std::filesystem::path& authorityFile() const { return options_.authority->file(); }

  std::vector<TestRequest> requests() const;
  /// Connections accepted so far.
  std::size_t connections() const;
  /// Waits until so many requests have come in; false when that takes more than 20 seconds.
  bool waitForRequests(std::size_t count);
  /// Waits until no connection is open; false when that takes more than 20 seconds.
  bool waitUntilIdle();

 private:
  void acceptAll();
  void serve(int socket);

  const Options options_;
  std::unique_ptr<ssl_ctx_st, void (*)(ssl_ctx_st*)> context_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Route> routes_;
  std::vector<TestRequest> requests_;
  std::vector<int> open_;
  std::size_t accepted_ = 0;
  std::thread acceptor_;
};

}  // namespace veltrane::testing
