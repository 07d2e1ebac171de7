#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "veltrane/network/http_transport.h"

namespace veltrane::curl {

/// A completion that runs once or, revoked before, never. Any thread.
class Delivery {
 public:
  explicit Delivery(HTTPTransport::Completion completion) : completion_(std::move(completion)) {}

  /// Runs the completion and lets go of what it captured, unless it was revoked.
  void run(std::optional<HTTPResponse> response);

  /// Afterwards the completion never starts. Waits for one that is running, except inside itself.
  void revoke();

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  HTTPTransport::Completion completion_;
  std::thread::id runner_;
};

}  // namespace veltrane::curl
