#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "veltrane/toolkit/main_queue.h"

namespace veltrane::loop {

/// The main queue of a program without a toolkit. The thread that calls the run functions is the
/// main thread; work runs there one piece at a time, in the order queued, delayed work and ticks
/// joining the queue as they fall due. A piece of work must not call the run functions. What is
/// left at destruction is dropped unrun.
class RunLoop final : public MainQueue {
 public:
  ~RunLoop() override;

  void async(Work work) override;
  void asyncAfter(Interval delay, Work work) override;
  std::unique_ptr<Timer> repeatingTimer(Interval interval, Work tick) override;

  /// Work from outside the program (a line of input, say): runs like `async` work, in one order
  /// with it, but is no queued work to `hasQueuedWork`. Any thread.
  void postExternal(Work work);

  /// Whether `async` or `asyncAfter` work is still to run. The piece that is running, external work
  /// and repeating timers do not count. Any thread.
  bool hasQueuedWork() const;

  /// Called on the main thread each time nothing is due any more (work for later may be pending:
  /// ask `hasQueuedWork`), the first time when the loop starts with nothing to do, before the loop
  /// waits. It may queue work and may quit. Set it on the main thread.
  void setIdleHandler(Work handler);

  /// Runs work as it falls due until `quit`. A `quit` from before counts.
  void run();
  /// Makes `run` return after the piece of work that is running. Any thread.
  void quit();

  /// Runs one piece of work, waiting up to `wait` for it to fall due. False when none did.
  bool runOnce(Interval wait = Interval::zero());
  /// Runs what is due and what that queues in turn, without waiting.
  void runUntilIdle();
  /// Runs work until `done` answers true, asked before each piece. False after `limit`.
  bool runUntil(const std::function<bool()>& done, Interval limit);

 private:
  using Clock = std::chrono::steady_clock;
  struct Repeating;
  struct RepeatingHandle;
  struct Item {
    Work work;
    bool counts = false;
  };

  void add(Item item, Clock::time_point due = Clock::time_point::min());
  void addTick(Clock::time_point due, std::weak_ptr<Repeating> timer);
  void tick(Clock::time_point due, const std::weak_ptr<Repeating>& timer);
  bool step(Clock::time_point deadline, bool untilQuit);
  void promoteDue(Clock::time_point now);
  void wait(std::unique_lock<std::mutex>& lock, Clock::time_point deadline);

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Item> ready_;
  std::multimap<Clock::time_point, Item> later_;
  std::size_t counted_ = 0;
  Work idleHandler_;
  bool idleTold_ = false;
  bool quit_ = false;
  bool closed_ = false;
};

}  // namespace veltrane::loop
