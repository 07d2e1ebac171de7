#include "apps/sandbox/server.h"

#include <httplib.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <future>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <thread>

#include "apps/sandbox/approve/approve_page.h"
#include "apps/sandbox/certificates.h"
#include "apps/sandbox/connections.h"
#include "apps/sandbox/decider.h"
#include "apps/sandbox/face/face_page.h"
#include "apps/sandbox/reply_writer.h"
#include "apps/sandbox/request_check.h"
#include "apps/sandbox/vendors/vendors.h"

namespace veltrane::sandbox {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHost = "127.0.0.1";
// Also the number of requests that may hang on purpose before others have to wait.
constexpr std::size_t kThreads = 32;
constexpr std::size_t kMaxRequestBytes = std::size_t{64} * 1024 * 1024;
constexpr int kBacklog = 512;
constexpr const char* kFlowSuffix = ".json";

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file.is_open() || file.bad()) {
    throw std::runtime_error("Cannot read the flow file " + path.string() + ".");
  }
  return text;
}

std::vector<fs::path> flowFilesIn(const fs::path& folder) {
  std::error_code error;
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == kFlowSuffix) files.push_back(entry.path());
  }
  if (error) {
    throw std::runtime_error("Cannot read the flows folder " + folder.string() + ": " +
                             error.message());
  }
  std::sort(files.begin(), files.end());
  return files;
}

RecordedRequest recorded(const httplib::Request& request) {
  RecordedRequest record{
      .method = request.method, .path = request.target, .body = request.body, .headers = {}};
  for (const auto& [name, value] : request.headers) {
    // httplib's own notes among the headers.
    const bool isNote = name.starts_with("REMOTE_") || name.starts_with("LOCAL_");
    if (!isNote) record.headers.emplace_back(name, value);
  }
  return record;
}

std::string httpDate(std::time_t time) {
  std::tm parts{};
  char text[40];
  const std::size_t size =
      std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", ::gmtime_r(&time, &parts));
  return {text, size};
}

/// The path alone: an interaction id is nobody's business, and a log line is one line.
std::string pathForLog(const std::string& target) {
  std::string path = target.substr(0, target.find('?'));
  std::replace_if(
      path.begin(), path.end(), [](unsigned char c) { return c <= ' ' || c >= 0x7F; }, '?');
  return path;
}

}  // namespace

class Server::Impl {
 public:
  explicit Impl(ServerOptions options)
      : options_(std::move(options)),
        certificates_(certificatesIn(options_.stateFolder)),
        server_([this](SSL_CTX& context) { return prepare(context); }),
        requests_(options_.recordedBytes) {
    if (!server_.is_valid()) throw std::runtime_error("Cannot use the server's certificate.");
    loadFlows();
    configure();
    bind();
    listen();
  }

  ~Impl() {
    connections_.stop();
    server_.stop();
    thread_.join();
  }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  int port() const { return port_; }
  const fs::path& authorityFile() const { return certificates_.authority; }

  void addFlow(std::string id, const std::string& jsonText) {
    decider_.addFlow(std::move(id), jsonText);
  }

  std::vector<std::string> flowIds() const { return decider_.flowIds(); }
  std::vector<RecordedRequest> requests() const { return requests_.all(); }
  void clearRequests() { requests_.clear(); }

 private:
  // ---- starting

  bool prepare(SSL_CTX& context) {
    connections_.watch(context);
    const unsigned char name[] = "veltrane-sandbox";
    return SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION) == 1 &&
           SSL_CTX_set_session_id_context(&context, name, sizeof name - 1) == 1 &&
           SSL_CTX_use_certificate_chain_file(&context, certificates_.certificate.c_str()) == 1 &&
           SSL_CTX_use_PrivateKey_file(&context, certificates_.key.c_str(), SSL_FILETYPE_PEM) == 1;
  }

  void loadFlows() {
    std::vector<fs::path> files;
    if (!options_.flowsFolder.empty()) files = flowFilesIn(options_.flowsFolder);
    files.insert(files.end(), options_.flowFiles.begin(), options_.flowFiles.end());
    for (const fs::path& file : files) {
      try {
        addFlow(file.stem().string(), contentOf(file));
      } catch (const std::invalid_argument& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
      }
    }
  }

  void configure() {
    server_.set_tcp_nodelay(true);
    server_.set_keep_alive_max_count(1);
    server_.set_payload_max_length(kMaxRequestBytes);
    // Not SO_REUSEPORT: two servers must not share a port without noticing.
    server_.set_socket_options([this](socket_t socket) {
      const int yes = 1;
      ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
      listening_ = socket;
    });
    server_.set_pre_routing_handler(
        [this](const auto& request, auto& response) { return answerBodiless(request, response); });
    const std::string everything = R"([\s\S]*)";
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
      handle(request, response);
    };
    server_.Get(everything, handler).Post(everything, handler).Put(everything, handler);
    server_.Patch(everything, handler).Delete(everything, handler).Options(everything, handler);
    server_.set_post_routing_handler([](const httplib::Request&, httplib::Response& response) {
      response.set_header("Date", httpDate(std::time(nullptr)));
    });
    server_.set_error_handler([](const httplib::Request&, httplib::Response& response) {
      // Requests that httplib refused before they came here.
      if (response.has_header("Content-Type") || response.status == 500) return;
      writeError("badRequest", "This is no HTTP request that can be understood.", response.status,
                 response);
    });
  }

  void bind() {
    const bool any = options_.port == 0;
    const bool bound = any ? (port_ = server_.bind_to_any_port(kHost)) > 0
                           : server_.bind_to_port(kHost, port_ = options_.port);
    if (!bound) {
      throw std::runtime_error("Cannot listen on " + std::string(kHost) + ":" +
                               std::to_string(options_.port) + "; is another program there?");
    }
    // httplib's queue of five drops connections when many come at once.
    ::listen(listening_, kBacklog);
  }

  void listen() {
    std::promise<void> started;
    server_.new_task_queue = [&started] {
      started.set_value();
      return new httplib::ThreadPool(kThreads);
    };
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    started.get_future().wait();
  }

  // ---- answering

  void handle(const httplib::Request& request, httplib::Response& response) {
    const auto begin = std::chrono::steady_clock::now();
    if (FacePage::isItsPath(request.path)) {
      facePage_.answer(request, port_, response);
      return logPage(request, response, begin);
    }
    if (ApprovePage::isItsPath(request.path)) {
      approvePage_.answer(request, port_, response);
      return logPage(request, response, begin);
    }
    const RecordedRequest record = recorded(request);
    // Not what a browser loads for its pages.
    const bool isVendors = Vendors::isItsPath(request.path);
    if (!isVendors || request.method == "POST") requests_.add(record);
    std::string outcome;
    try {
      outcome = isVendors ? send(vendors_.answer(record, port_), request.ssl, response)
                          : answer(decider_.decide(record, port_), request.ssl, response);
    } catch (const Refusal& refusal) {
      writeError(refusal.code(), refusal.what(), refusal.status(), response);
      outcome = std::to_string(refusal.status()) + " (" + refusal.code() + ")";
    }
    log(record, outcome, std::chrono::steady_clock::now() - begin);
  }

  /// A request that announces no body has none, but httplib would wait for it until the client
  /// gives up.
  httplib::Server::HandlerResponse answerBodiless(const httplib::Request& request,
                                                  httplib::Response& response) {
    const bool announcesBody =
        request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
    const bool mayHaveBody =
        request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
    if (announcesBody || !mayHaveBody) return httplib::Server::HandlerResponse::Unhandled;
    handle(request, response);
    return httplib::Server::HandlerResponse::Handled;
  }

  /// Pages look for news all the time: only what goes wrong and what people do is worth a line.
  void logPage(const httplib::Request& request, const httplib::Response& response,
               std::chrono::steady_clock::time_point begin) const {
    if (request.method == "GET" && response.status < 400) return;
    log(recorded(request), std::to_string(response.status),
        std::chrono::steady_clock::now() - begin);
  }

  // The next three answer the outcome, for the log.

  std::string answer(const Decision& decision, const SSL* connection, httplib::Response& response) {
    const Reply& reply = *decision.reply;
    if (!isDue(reply, connection)) return withheld(reply, connection);
    // Before the answer is out, for the client may be quick.
    writeReply(reply, decider_.issue(decision), response);
    return std::to_string(reply.status);
  }

  std::string send(const Reply& reply, const SSL* connection, httplib::Response& response) {
    if (!isDue(reply, connection)) return withheld(reply, connection);
    writeReply(reply, reply.text, response);
    return std::to_string(reply.status);
  }

  static std::string withheld(const Reply& reply, const SSL* connection) {
    Connections::drop(connection);
    return reply.closeConnection ? "closed without an answer" : "no answer";
  }

  /// Waits as long as the reply says. False when none is to be sent, or nobody is there any more.
  bool isDue(const Reply& reply, const SSL* connection) const {
    bool there = reply.delay.count() == 0 || connections_.wait(connection, reply.delay);
    if (there && reply.noAnswer) there = connections_.wait(connection, std::nullopt);
    return there && !reply.closeConnection;
  }

  void log(const RecordedRequest& record, const std::string& outcome,
           std::chrono::steady_clock::duration time) const {
    if (!options_.log) return;
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    options_.log(record.method + " " + pathForLog(record.path) + " " + outcome + " " +
                 std::to_string(ms) + " ms");
  }

  const ServerOptions options_;
  const Certificates certificates_;
  Connections connections_;  // before the server, whose connections it watches
  httplib::SSLServer server_;
  socket_t listening_ = INVALID_SOCKET;
  int port_ = 0;
  std::thread thread_;
  Decider decider_;
  ApprovePage approvePage_{decider_.challenges()};
  const FacePage facePage_{decider_.lastFace()};
  Vendors vendors_;
  RequestLog requests_;
};

Server::Server(ServerOptions options) : impl_(std::make_unique<Impl>(std::move(options))) {}
Server::~Server() = default;

int Server::port() const {
  return impl_->port();
}

std::string Server::baseURL() const {
  return serverURL(port()) + "/v1";
}

std::string Server::faceURL() const {
  return serverURL(port()) + "/face";
}

std::string Server::approveURL() const {
  return serverURL(port()) + "/approve";
}

fs::path Server::authorityFile() const {
  return impl_->authorityFile();
}

void Server::addFlow(std::string id, const std::string& jsonText) {
  impl_->addFlow(std::move(id), jsonText);
}

std::vector<std::string> Server::flowIds() const {
  return impl_->flowIds();
}

std::vector<RecordedRequest> Server::requests() const {
  return impl_->requests();
}

void Server::clearRequests() {
  impl_->clearRequests();
}

}  // namespace veltrane::sandbox
