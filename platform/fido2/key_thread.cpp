#include "platform/fido2/key_thread.h"

namespace veltrane::fido2 {

KeyThread::~KeyThread() {
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    for (const auto& [talk, work] : jobs_) talk->abandon();
  }
  wake_.notify_all();
  thread_.join();
}

void KeyThread::add(std::shared_ptr<Conversation> talk, Work work) {
  {
    const std::lock_guard lock(mutex_);
    jobs_.emplace_back(std::move(talk), std::move(work));
  }
  wake_.notify_all();
}

void KeyThread::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return closing_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    // The front stays where it is whatever is added behind it.
    auto& [talk, work] = jobs_.front();
    lock.unlock();
    if (!talk->halt().requested()) talk->end(work(*talk));
    lock.lock();
    jobs_.pop_front();
  }
}

}  // namespace veltrane::fido2
