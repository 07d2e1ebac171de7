#include "tests/support/tls_test_server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <signal.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace veltrane::testing {
namespace {

constexpr auto kPatience = std::chrono::seconds(20);

struct TlsDeleter {
  void operator()(SSL* tls) const { SSL_free(tls); }
};

// In the server's threads alone: a client that raises the signal in its own must be found out.
void blockBrokenPipeSignal() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

std::string nextLine(std::string& text) {
  const auto end = text.find("\r\n");
  std::string line = text.substr(0, end);
  text.erase(0, end + 2);
  return line;
}

void parseHead(std::string head, TestRequest& request) {
  const std::string first = nextLine(head);
  const auto blank = first.find(' ');
  request.method = first.substr(0, blank);
  request.target = first.substr(blank + 1, first.rfind(' ') - blank - 1);
  while (!head.empty()) {
    const std::string line = nextLine(head);
    const auto colon = line.find(':');
    const auto value = line.find_first_not_of(' ', colon + 1);
    request.headers.emplace_back(line.substr(0, colon),
                                 value == std::string::npos ? "" : line.substr(value));
  }
}

}  // namespace

const std::string* TestRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0) {
      return &value;
    }
  }
  return nullptr;
}

bool TestConnection::send(std::string_view bytes) {
  while (!closed_ && !bytes.empty()) {
    const auto chunk = std::min(bytes.size(), std::size_t{1} << 20);
    const auto written = tls_ ? SSL_write(tls_, bytes.data(), static_cast<int>(chunk))
                              : ::send(socket_, bytes.data(), chunk, 0);
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return !closed_;
}

bool TestConnection::respond(int status, std::string_view body,
                             const std::vector<std::pair<std::string, std::string>>& headers) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " Test\r\n";
  for (const auto& [name, value] : headers) text.append(name + ": " + value + "\r\n");
  if (status != 204) text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  return send(text.append("\r\n").append(body));
}

void TestConnection::waitForClose() {
  while (!closed_ && fill()) {
  }
}

void TestConnection::close() {
  if (tls_) SSL_shutdown(tls_);
  closeAbruptly();
}

void TestConnection::hangUp() {
  closed_ = true;
  shutdown(socket_, SHUT_WR);
}

void TestConnection::closeAbruptly() {
  hangUp();
  // Closing with bytes unread would reset the connection and might take the answer with it.
  while (fill()) {
  }
}

bool TestConnection::fill() {
  std::array<char, 16384> buffer;
  const auto count = tls_ ? SSL_read(tls_, buffer.data(), static_cast<int>(buffer.size()))
                          : recv(socket_, buffer.data(), buffer.size(), 0);
  if (count <= 0) return false;
  received_.append(buffer.data(), static_cast<std::size_t>(count));
  return true;
}

bool TestConnection::read(TestRequest& request) {
  std::size_t end = 0;
  while ((end = received_.find("\r\n\r\n")) == std::string::npos) {
    if (closed_ || !fill()) return false;
  }
  parseHead(received_.substr(0, end + 2), request);
  received_.erase(0, end + 4);
  const std::string* length = request.header("Content-Length");
  const std::size_t size = length ? std::strtoul(length->c_str(), nullptr, 10) : 0;
  while (received_.size() < size) {
    if (!fill()) return false;
  }
  request.body = received_.substr(0, size);
  received_.erase(0, size);
  request.resumed = tls_ && SSL_session_reused(tls_) == 1;
  return true;
}

TlsTestServer::TlsTestServer(Options options)
    : options_(std::move(options)), context_(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free) {
  options_.authority->certify(context_.get());
  SSL_CTX_set_max_proto_version(context_.get(), options_.maxTlsVersion);
  SSL_CTX_set_min_proto_version(context_.get(), options_.maxTlsVersion);
  if (!options_.resumes) {
    SSL_CTX_set_num_tickets(context_.get(), 0);
    SSL_CTX_set_options(context_.get(), SSL_OP_NO_TICKET);
    SSL_CTX_set_session_cache_mode(context_.get(), SSL_SESS_CACHE_OFF);
  }
  if (options_.maxTlsVersion != 0) SSL_CTX_set_cipher_list(context_.get(), "DEFAULT:@SECLEVEL=0");

  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, generic, length) != 0 || listen(listener_, 128) != 0 ||
      getsockname(listener_, generic, &length) != 0) {
    throw std::runtime_error("cannot listen on a loopback port");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { acceptAll(); });
}

TlsTestServer::~TlsTestServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  ::close(listener_);
  std::unique_lock lock(mutex_);
  for (const int connection : open_) shutdown(connection, SHUT_RDWR);
  changed_.wait(lock, [this] { return open_.empty(); });
}

void TlsTestServer::route(std::string path, Route route) {
  std::lock_guard lock(mutex_);
  routes_[std::move(path)] = std::move(route);
}

void TlsTestServer::answer(std::string path, int status, std::string body,
                           std::vector<std::pair<std::string, std::string>> headers) {
  route(std::move(path), [=](const TestRequest&, TestConnection& connection) {
    connection.respond(status, body, headers);
  });
}

std::string TlsTestServer::url(std::string_view path, std::string_view host) const {
  std::string url = options_.plain ? "http://" : "https://";
  return url.append(host).append(":").append(std::to_string(port_)).append(path);
}

std::vector<TestRequest> TlsTestServer::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t TlsTestServer::connections() const {
  std::lock_guard lock(mutex_);
  return accepted_;
}

bool TlsTestServer::waitForRequests(std::size_t count) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return requests_.size() >= count; });
}

bool TlsTestServer::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return open_.empty(); });
}

void TlsTestServer::acceptAll() {
  blockBrokenPipeSignal();
  for (;;) {
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::lock_guard lock(mutex_);
    open_.push_back(connection);
    ++accepted_;
    std::thread([this, connection] { serve(connection); }).detach();
  }
}

void TlsTestServer::serve(int socket) {
  std::unique_ptr<SSL, TlsDeleter> tls(options_.plain ? nullptr : SSL_new(context_.get()));
  if (tls) SSL_set_fd(tls.get(), socket);
  if (!tls || SSL_accept(tls.get()) == 1) {
    TestConnection connection(socket, tls.get());
    for (TestRequest request; connection.read(request); request = {}) {
      Route route;
      {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
        const auto found = routes_.find(request.target.substr(0, request.target.find('?')));
        if (found != routes_.end()) route = found->second;
      }
      changed_.notify_all();
      if (route) {
        route(request, connection);
      } else {
        connection.respond(404);
      }
    }
  }
  // Otherwise OpenSSL forgets the session of a client that left without a farewell.
  if (tls) SSL_set_shutdown(tls.get(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
  tls.reset();
  // What the library keeps for this thread: the thread may still be ending when the program does.
  OPENSSL_thread_stop();
  // The last the thread touches: once no connection is open the server may be gone.
  std::lock_guard lock(mutex_);
  std::erase(open_, socket);
  ::close(socket);
  changed_.notify_all();
}

}  // namespace veltrane::testing
