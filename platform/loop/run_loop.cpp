#include "platform/loop/run_loop.h"

#include <algorithm>
#include <utility>

namespace veltrane::loop {

namespace {

// Keeps the due time of any delay representable.
constexpr MainQueue::Interval kLongestDelay = std::chrono::hours(24 * 365 * 10);

MainQueue::Interval within(MainQueue::Interval shortest, MainQueue::Interval delay) {
  return std::clamp(delay, shortest, kLongestDelay);
}

}  // namespace

struct RunLoop::Repeating {
  Interval interval;
  Work work;
};

// The only owner of a timer outside its own tick, so that dropping it is the cancellation.
struct RunLoop::RepeatingHandle final : Timer {
  explicit RepeatingHandle(std::shared_ptr<Repeating> running) : timer(std::move(running)) {}
  std::shared_ptr<Repeating> timer;
};

RunLoop::~RunLoop() {
  // Destroyed after the lock: what the work owns may queue more as it goes, which is dropped.
  std::deque<Item> ready;
  std::multimap<Clock::time_point, Item> later;
  Work idleHandler;
  const std::lock_guard lock(mutex_);
  closed_ = true;
  ready.swap(ready_);
  later.swap(later_);
  idleHandler.swap(idleHandler_);
}

void RunLoop::add(Item item, Clock::time_point due) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  counted_ += item.counts ? 1 : 0;
  if (due == Clock::time_point::min()) {
    ready_.push_back(std::move(item));
  } else {
    later_.emplace(due, std::move(item));
  }
  // Under the lock: what it wakes may be all that the loop was still there for.
  wake_.notify_one();
}

void RunLoop::async(Work work) {
  add({std::move(work), true});
}

void RunLoop::postExternal(Work work) {
  add({std::move(work), false});
}

void RunLoop::asyncAfter(Interval delay, Work work) {
  add({std::move(work), true}, Clock::now() + within(Interval::zero(), delay));
}

std::unique_ptr<Timer> RunLoop::repeatingTimer(Interval interval, Work tick) {
  auto timer =
      std::make_shared<Repeating>(Repeating{within(Interval(1), interval), std::move(tick)});
  addTick(Clock::now() + timer->interval, timer);
  return std::make_unique<RepeatingHandle>(std::move(timer));
}

void RunLoop::addTick(Clock::time_point due, std::weak_ptr<Repeating> timer) {
  add({[this, due, timer = std::move(timer)] { tick(due, timer); }, false}, due);
}

void RunLoop::tick(Clock::time_point due, const std::weak_ptr<Repeating>& timer) {
  const auto running = timer.lock();
  if (!running) return;
  running->work();
  if (running.use_count() == 1) return;  // Dropped in its own tick.
  const auto now = Clock::now();
  const auto next = due + running->interval;
  addTick(next > now ? next : now + running->interval, timer);
}

bool RunLoop::hasQueuedWork() const {
  const std::lock_guard lock(mutex_);
  return counted_ > 0;
}

void RunLoop::setIdleHandler(Work handler) {
  const std::lock_guard lock(mutex_);
  idleHandler_.swap(handler);
  idleTold_ = false;
}

void RunLoop::run() {
  while (step(Clock::time_point::max(), true)) {
  }
}

void RunLoop::quit() {
  const std::lock_guard lock(mutex_);
  quit_ = true;
  wake_.notify_one();
}

bool RunLoop::runOnce(Interval wait) {
  return step(Clock::now() + within(Interval::zero(), wait), false);
}

void RunLoop::runUntilIdle() {
  while (runOnce()) {
  }
}

bool RunLoop::runUntil(const std::function<bool()>& done, Interval limit) {
  const auto deadline = Clock::now() + within(Interval::zero(), limit);
  while (!done()) {
    if (!step(deadline, false)) return done();
  }
  return true;
}

// Runs one piece of work, or tells of idleness and waits for the next. False at the deadline or, if
// asked to heed it, at a quit.
bool RunLoop::step(Clock::time_point deadline, bool untilQuit) {
  std::unique_lock lock(mutex_);
  while (true) {
    if (untilQuit && std::exchange(quit_, false)) return false;
    const auto now = Clock::now();
    promoteDue(now);
    if (!ready_.empty()) break;
    if (!std::exchange(idleTold_, true) && idleHandler_) {
      const auto handler = idleHandler_;
      lock.unlock();
      handler();
      lock.lock();
    } else if (deadline <= now) {
      return false;
    } else {
      wait(lock, deadline);
    }
  }
  Item item = std::move(ready_.front());
  ready_.pop_front();
  counted_ -= item.counts ? 1 : 0;
  idleTold_ = false;
  lock.unlock();
  item.work();
  return true;
}

void RunLoop::promoteDue(Clock::time_point now) {
  const auto end = later_.upper_bound(now);
  for (auto it = later_.begin(); it != end; ++it) ready_.push_back(std::move(it->second));
  later_.erase(later_.begin(), end);
}

void RunLoop::wait(std::unique_lock<std::mutex>& lock, Clock::time_point deadline) {
  const auto until = later_.empty() ? deadline : std::min(deadline, later_.begin()->first);
  if (until == Clock::time_point::max()) {
    wake_.wait(lock);
  } else {
    wake_.wait_until(lock, until);
  }
}

}  // namespace veltrane::loop
