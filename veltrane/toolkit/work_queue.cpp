#include "veltrane/toolkit/work_queue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace veltrane {

struct ThreadWorkQueue::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<Work> waiting;
  bool closing = false;
  std::thread thread;

  void run() {
    while (Work work = next()) work();
  }

  /// Empty once the queue closes.
  Work next() {
    std::unique_lock lock(mutex);
    wake.wait(lock, [this] { return closing || !waiting.empty(); });
    if (closing) return {};
    Work work = std::move(waiting.front());
    waiting.pop_front();
    return work;
  }
};

ThreadWorkQueue::ThreadWorkQueue() : state_(std::make_shared<State>()) {}

ThreadWorkQueue::~ThreadWorkQueue() {
  std::deque<Work> dropped;
  {
    const std::lock_guard lock(state_->mutex);
    state_->closing = true;
    dropped.swap(state_->waiting);
  }
  state_->wake.notify_all();
  if (state_->thread.get_id() == std::this_thread::get_id()) {
    state_->thread.detach();
  } else if (state_->thread.joinable()) {
    state_->thread.join();
  }
}

void ThreadWorkQueue::async(Work work) {
  if (!work) return;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->closing) return;
    state_->waiting.push_back(std::move(work));
    if (!state_->thread.joinable()) {
      state_->thread = std::thread([state = state_] { state->run(); });
    }
  }
  state_->wake.notify_one();
}

}  // namespace veltrane
