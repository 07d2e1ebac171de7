#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/sandbox/request_log.h"

namespace veltrane::sandbox {

/// The folder of the flows that come with this project: the installed one, or the source tree's
/// when nothing is installed. The environment variable VELTRANE_SANDBOX_FLOWS names another one.
std::filesystem::path shippedFlowsFolder();

struct ServerOptions {
  /// Where the certificate authority and the server's certificate are kept. Made, with its missing
  /// parents, on first start; key files are readable by their owner only. Several servers may share
  /// one folder, one after the other or at the same time.
  std::filesystem::path stateFolder;

  /// Flow files to load, each under the name of its file without ".json".
  std::vector<std::filesystem::path> flowFiles;

  /// Every "*.json" file of this folder is loaded too; empty: none.
  std::filesystem::path flowsFolder;

  /// 0: a free one. The server only ever listens on a loopback address.
  int port = 0;

  /// How many bytes the requests may take up that requests() tells; 0: none is kept, and with none
  /// of them a token or a password.
  std::size_t recordedBytes = std::size_t{64} << 20;

  /// Called with one line a request: method, path, status and time; never a body or a token. Called
  /// on the server's threads, several at once; must not block for long and must not throw.
  std::function<void(const std::string&)> log;
};

/// An orchestration server to develop and test against, on a loopback address and over TLS.
///
/// It starts in the constructor and stops in the destructor, which also ends requests that are left
/// hanging on purpose. Every function may be called on any thread.
class Server {
 public:
  /// Throws std::runtime_error with a text for people when a flow file is wrong, the state folder
  /// cannot be written or the port is taken.
  explicit Server(ServerOptions options);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  int port() const;

  /// "https://localhost:PORT/v1".
  std::string baseURL() const;

  /// "https://localhost:PORT/approve", the page on which people answer challenges.
  std::string approveURL() const;

  /// "https://localhost:PORT/face", the page with the last picture of a face that came.
  std::string faceURL() const;

  /// PEM file of the certificate authority to trust.
  std::filesystem::path authorityFile() const;

  /// Adds a flow, or replaces the one of that id; runs that have begun keep the old one. The text
  /// has the shape of a flow file (README.md beside this header). Throws std::invalid_argument that
  /// names what is wrong and where.
  void addFlow(std::string id, const std::string& jsonText);

  /// In alphabetical order.
  std::vector<std::string> flowIds() const;

  /// The requests since the start or the last clearRequests(), in the order in which they arrived
  /// and without those of the pages for people: the latest that fit into `recordedBytes`.
  std::vector<RecordedRequest> requests() const;
  void clearRequests();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace veltrane::sandbox
