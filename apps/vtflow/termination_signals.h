#pragma once

#include <csignal>
#include <functional>
#include <thread>

namespace veltrane::tool {

/// Keeps SIGINT, SIGTERM and SIGHUP from ending the program, so that it can end in good order, and
/// SIGPIPE, so that lost output is an error of the write. For the thread that makes it and all that
/// it starts: make it before any other thread.
class TerminationSignals {
 public:
  TerminationSignals();
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

  /// Waits for one of the first three.
  void wait() const;

 private:
  sigset_t former_;
};

/// Calls `arrived`, on a thread of its own, when one of the signals that `TerminationSignals` keeps
/// back has come. At most once.
class SignalWatch {
 public:
  explicit SignalWatch(std::function<void()> arrived);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

 private:
  int signals_;
  int stop_[2];
  std::thread thread_;
};

}  // namespace veltrane::tool
