#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace veltrane {

/// A running timer. Dropping it stops it: its work never runs afterwards.
class Timer {
 public:
  virtual ~Timer() = default;
};

/// Port: the host's user-interface thread as a queue of work, and its timers.
///
/// `async` and `asyncAfter` may be called from any thread; the work runs later on the main thread,
/// in the order queued, never inside the call. `repeatingTimer` is called and fires on the main
/// thread; ticks that fall due while the thread is busy may merge into one.
class MainQueue {
 public:
  using Work = std::function<void()>;
  using Interval = std::chrono::milliseconds;

  virtual ~MainQueue() = default;
  virtual void async(Work work) = 0;
  virtual void asyncAfter(Interval delay, Work work) = 0;
  virtual std::unique_ptr<Timer> repeatingTimer(Interval interval, Work tick) = 0;

  /// The installed platform's. Any thread.
  static MainQueue& current();
};

}  // namespace veltrane
