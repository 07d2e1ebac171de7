#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/fido2/conversation.h"

namespace veltrane::fido2 {

/// The thread that talks to keys, one request after another. Destroying it ends them all.
class KeyThread {
 public:
  using Work = std::function<Outcome(Conversation&)>;

  KeyThread() : thread_([this] { run(); }) {}
  ~KeyThread();
  KeyThread(const KeyThread&) = delete;
  KeyThread& operator=(const KeyThread&) = delete;

  void add(std::shared_ptr<Conversation> talk, Work work);

 private:
  using Job = std::pair<std::shared_ptr<Conversation>, Work>;

  void run();

  std::mutex mutex_;
  std::condition_variable wake_;
  /// The one at work is in front.
  std::deque<Job> jobs_;
  bool closing_ = false;
  std::thread thread_;
};

}  // namespace veltrane::fido2
