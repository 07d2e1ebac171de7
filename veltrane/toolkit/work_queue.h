#pragma once

#include <functional>
#include <memory>

namespace veltrane {

/// Work away from the user-interface thread: one piece after another, in the order queued.
class WorkQueue {
 public:
  using Work = std::function<void()>;

  virtual ~WorkQueue() = default;
  /// Any thread, the queue's own included. `work` never runs inside the call and does not throw.
  virtual void async(Work work) = 0;
};

/// A queue with a thread of its own, which is started with the first piece of work. Destroying it
/// drops what is still waiting and waits for what is running, unless that is what destroys it.
class ThreadWorkQueue final : public WorkQueue {
 public:
  ThreadWorkQueue();
  ~ThreadWorkQueue() override;
  ThreadWorkQueue(const ThreadWorkQueue&) = delete;
  ThreadWorkQueue& operator=(const ThreadWorkQueue&) = delete;

  void async(Work work) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace veltrane
