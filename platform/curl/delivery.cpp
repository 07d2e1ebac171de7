#include "platform/curl/delivery.h"

#include <utility>

namespace veltrane::curl {

void Delivery::run(std::optional<HTTPResponse> response) {
  HTTPTransport::Completion completion;
  {
    std::lock_guard lock(mutex_);
    if (!completion_) return;
    completion = std::exchange(completion_, nullptr);
    runner_ = std::this_thread::get_id();
  }
  completion(std::move(response));
  // Before the waiting is over: whoever drops a handle may count on the captured objects being
  // gone.
  completion = nullptr;
  {
    std::lock_guard lock(mutex_);
    runner_ = {};
  }
  ended_.notify_all();
}

void Delivery::revoke() {
  HTTPTransport::Completion unwanted;  // destroyed after the lock: its captures may call back in
  std::unique_lock lock(mutex_);
  unwanted = std::exchange(completion_, nullptr);
  if (runner_ != std::this_thread::get_id()) {
    ended_.wait(lock, [this] { return runner_ == std::thread::id(); });
  }
}

}  // namespace veltrane::curl
