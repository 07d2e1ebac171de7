#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "veltrane/base/console.h"
#include "veltrane/flow/key_value_store.h"
#include "veltrane/network/http_transport.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/ui/main_storyboard.h"

// Ports that a test holds in its hand: time stands still until it is moved, requests wait until
// they are answered, nothing leaves the process.
namespace veltrane::testing {

/// A main queue with a clock of its own. Work may be queued from any thread; it runs in `run`.
class FakeMainQueue final : public MainQueue {
 public:
  void async(Work work) override { asyncAfter(Interval(0), std::move(work)); }
  void asyncAfter(Interval delay, Work work) override {
    const std::lock_guard lock(mutex_);
    later_.emplace(std::pair(now_ + delay, ++order_), std::move(work));
  }
  std::unique_ptr<Timer> repeatingTimer(Interval interval, Work tick) override {
    auto state = std::make_shared<Repeating>(Repeating{interval, std::move(tick)});
    schedule(state);
    return std::make_unique<FakeTimer>(std::move(state));
  }

  /// Runs all that is due, what it queues included.
  void run() { advance(Interval(0)); }
  /// Moves the clock on, running what falls due in its order.
  void advance(Interval by) {
    const Interval until = now() + by;
    while (Work work = takeDue(until)) work();
    const std::lock_guard lock(mutex_);
    now_ = until;
  }

 private:
  struct Repeating {
    Interval interval;
    Work tick;
  };
  struct FakeTimer final : Timer {
    explicit FakeTimer(std::shared_ptr<Repeating> s) : state(std::move(s)) {}
    std::shared_ptr<Repeating> state;
  };

  void schedule(const std::weak_ptr<Repeating>& weak) {
    const auto state = weak.lock();
    if (!state) return;
    asyncAfter(state->interval, [this, weak] {
      const auto alive = weak.lock();
      if (!alive) return;
      alive->tick();
      schedule(weak);
    });
  }
  Interval now() {
    const std::lock_guard lock(mutex_);
    return now_;
  }
  Work takeDue(Interval until) {
    const std::lock_guard lock(mutex_);
    if (later_.empty() || later_.begin()->first.first > until) return {};
    now_ = std::max(now_, later_.begin()->first.first);
    Work work = std::move(later_.begin()->second);
    later_.erase(later_.begin());
    return work;
  }

  std::mutex mutex_;
  Interval now_{0};
  std::size_t order_ = 0;
  std::map<std::pair<Interval, std::size_t>, Work> later_;
};

class MemoryStore final : public KeyValueStore {
 public:
  std::optional<SettingValue> value(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  void set(std::string_view key, const SettingValue& value) override {
    const std::lock_guard lock(mutex_);
    values_[std::string(key)] = value;
  }
  void remove(std::string_view key) override {
    const std::lock_guard lock(mutex_);
    values_.erase(std::string(key));
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, SettingValue, std::less<>> values_;
};

class RecordingConsole final : public ConsoleSink {
 public:
  void print(std::string_view line) override {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  bool has(std::string_view line) const {
    const auto all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
  }
  bool mentions(std::string_view text) const {
    const auto all = lines();
    return std::any_of(all.begin(), all.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// Keeps requests until the test answers them; answers arrive inside the test's call.
class FakeTransport final : public HTTPTransport {
 public:
  struct Exchange final : HTTPTask {
    HTTPRequest request;
    Completion completion;
    bool dropped = false;
    HTTPTaskState taskState = HTTPTaskState::running;

    const std::string& originalURL() const override { return request.url; }
    HTTPTaskState state() const override { return taskState; }
    void cancel() override { finish(std::nullopt); }
    // Not inlined: GCC 12 would warn of members of a response that is not there.
    [[gnu::noinline]] void finish(std::optional<HTTPResponse> response) {
      if (taskState != HTTPTaskState::running) return;
      taskState = HTTPTaskState::completed;
      if (!dropped) completion(std::move(response));
    }
  };

  std::unique_ptr<HTTPRequestHandle> send(HTTPRequest request, Completion completion) override {
    auto exchange = std::make_shared<Exchange>();
    exchange->request = std::move(request);
    exchange->completion = std::move(completion);
    exchanges.push_back(exchange);
    return std::make_unique<Handle>(exchange);
  }
  std::vector<std::shared_ptr<HTTPTask>> tasks() const override {
    std::vector<std::shared_ptr<HTTPTask>> running;
    for (const auto& exchange : exchanges) {
      if (exchange->taskState == HTTPTaskState::running) running.push_back(exchange);
    }
    return running;
  }

  Exchange& last() { return *exchanges.at(exchanges.size() - 1); }
  void answer(int status, std::string body) {
    last().finish(HTTPResponse{status, std::move(body)});
  }

  std::vector<std::shared_ptr<Exchange>> exchanges;

 private:
  struct Handle final : HTTPRequestHandle {
    explicit Handle(std::shared_ptr<Exchange> e) : exchange(std::move(e)) {}
    ~Handle() override {
      exchange->dropped = true;
      exchange->taskState = HTTPTaskState::completed;
    }
    std::shared_ptr<Exchange> exchange;
  };
};

/// All fakes, installed as the platform for as long as this lives.
struct FakePlatform {
  std::shared_ptr<FakeMainQueue> mainQueue = std::make_shared<FakeMainQueue>();
  std::shared_ptr<MemoryStore> settings = std::make_shared<MemoryStore>();
  std::shared_ptr<RecordingConsole> console = std::make_shared<RecordingConsole>();
  std::shared_ptr<FakeTransport> transport = std::make_shared<FakeTransport>();
  PlatformScope scope{ports()};

  Platform ports() const {
    Platform platform;
    platform.mainQueue = mainQueue;
    platform.notificationCenter = std::make_shared<NotificationCenter>();
    platform.storyboard = makeMainStoryboard();
    platform.settings = settings;
    platform.transport = transport;
    platform.console = console;
    return platform;
  }
};

}  // namespace veltrane::testing
