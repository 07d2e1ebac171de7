#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/curl/exchange.h"

namespace veltrane::curl {

/// The transport's thread and what it shares with callers. Lives as long as the thread or the
/// transport, whichever ends last.
class Worker : public std::enable_shared_from_this<Worker> {
 public:
  explicit Worker(const Options& options) : engine_(options) {}

  // From any thread.
  std::shared_ptr<Exchange> add(HTTPRequest request, HTTPTransport::Completion completion);
  void drop(Exchange& exchange);
  std::vector<std::shared_ptr<HTTPTask>> tasks() const;
  void stop();
  void wake();

  /// The thread: returns after `stop`, every exchange ended.
  void run();

 private:
  using Exchanges = std::map<std::uint64_t, std::shared_ptr<Exchange>>;  // oldest first

  bool takeIncoming();
  void endUnwanted();
  void perform();
  void transferEnded(Exchange* ended, CURLcode result);
  void finish(const std::shared_ptr<Exchange>& exchange, std::optional<HTTPResponse> response);
  int millisecondsToDeadline() const;
  void abandonAll();

  Engine engine_;
  Exchanges active_;  // the thread's

  mutable std::mutex mutex_;
  bool stopped_ = false;
  std::uint64_t lastNumber_ = 0;
  Exchanges open_;
  std::vector<std::shared_ptr<Exchange>> incoming_;
};

}  // namespace veltrane::curl
