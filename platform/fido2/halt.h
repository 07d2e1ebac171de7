#pragma once

#include <atomic>
#include <chrono>

namespace veltrane::fido2 {

/// A word that one thread says once and another hears at once, whatever it waits for.
class Halt {
 public:
  Halt();
  ~Halt();
  Halt(const Halt&) = delete;
  Halt& operator=(const Halt&) = delete;

  /// Any thread.
  void request();
  bool requested() const { return requested_; }

  enum class Wake { readable, halted, late };
  /// Waits until `fd` can be read (or has failed), the word is said, or the time is over. An `fd`
  /// of -1 is never readable; a negative time never over.
  Wake wait(int fd, std::chrono::milliseconds limit) const;

 private:
  std::atomic<bool> requested_ = false;
  int event_ = -1;
};

}  // namespace veltrane::fido2
