#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/curl/exchange.h"

namespace veltrane::curl {

/// The transport's thread and what it shares with callers.
class Worker : public std::enable_shared_from_this<Worker> {
 public:
  /// Starts the thread; `end` must follow. `whenLoaded` is called once in the life of the program,
  /// by the first thread that has loaded libcurl.
  static std::shared_ptr<Worker> start(Options options, void (*whenLoaded)());

  // From any thread.
  std::shared_ptr<Exchange> add(HTTPRequest request, HTTPTransport::Completion completion);
  void drop(Exchange& exchange);
  std::vector<std::shared_ptr<HTTPTask>> tasks() const;
  void wake();

  /// Ends the wait before libcurl is loaded.
  void hurry();
  /// Makes the thread end every exchange in silence, let go of libcurl and return.
  void stop();
  /// Stops and waits, except on the thread itself. Called once, at the latest when the program
  /// ends.
  void end();
  /// Whether the thread has nothing left to do.
  bool hasEnded() const;
  bool isThisThread() const { return thread_.get_id() == std::this_thread::get_id(); }

 private:
  using Exchanges = std::map<std::uint64_t, std::shared_ptr<Exchange>>;  // oldest first

  void run(void (*whenLoaded)());
  /// False when the thread is to end before its turn has come.
  bool waitForTurn();
  /// Why it cannot be; empty when it is.
  std::string startEngine(void (*whenLoaded)());
  void serve();
  void refuseAll(const std::string& why);
  bool takeIncoming();
  void endUnwanted();
  void perform();
  void transferEnded(Exchange* ended, CURLcode result);
  void finish(const std::shared_ptr<Exchange>& exchange, std::optional<HTTPResponse> response);
  void report(const Exchange& exchange) const;
  int millisecondsToDeadline() const;
  void abandonAll();

  Options options_;
  std::thread thread_;
  Exchanges active_;                // the thread's
  std::unique_ptr<Engine> engine_;  // the thread's, but for waking it

  mutable std::mutex mutex_;
  std::condition_variable woken_;  // while there is no engine to wake
  bool hurried_ = false;
  bool stopped_ = false;
  bool ended_ = false;
  std::uint64_t lastNumber_ = 0;
  Exchanges open_;
  std::vector<std::shared_ptr<Exchange>> incoming_;
};

}  // namespace veltrane::curl
