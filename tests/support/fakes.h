#pragma once

#include <algorithm>
#include <atomic>
#include <cstdio>
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
#include "veltrane/network/network_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/device.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/picture_codec.h"
#include "veltrane/toolkit/work_queue.h"
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
  /// What has been printed since it was last asked.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
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

/// Takes "picture 40x30" for an encoded picture of that size.
class FakeCodec final : public PictureCodec {
 public:
  PicturePtr decode(std::string_view bytes) const override {
    ++decoded;
    PixelSize size;
    const std::string text(bytes);
    if (std::sscanf(text.c_str(), "picture %dx%d", &size.width, &size.height) != 2) return nullptr;
    return makePicture(size);
  }
  std::optional<std::string> encodePNG(const Picture& /*picture*/) const override {
    return std::nullopt;
  }
  PicturePtr resize(const Picture& /*picture*/, PixelSize size,
                    ResizeFramework /*framework*/) const override {
    return makePicture(size);
  }

  mutable std::atomic<int> decoded = 0;

 private:
  static PicturePtr makePicture(PixelSize size) {
    const auto bytes = static_cast<std::size_t>(size.width) * size.height * Picture::kBytesAPixel;
    return std::make_shared<Picture>(Picture{size, Pixels(bytes, 0xFF), true});
  }
};

/// Keeps work until the test runs it.
class FakeWorkQueue final : public WorkQueue {
 public:
  void async(Work work) override {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
  }
  void run() {
    while (Work work = next()) work();
  }

 private:
  Work next() {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return {};
    Work work = std::move(waiting_.front());
    waiting_.pop_front();
    return work;
  }

  std::mutex mutex_;
  std::deque<Work> waiting_;
};

struct FakeDevice final : Device {
  double screenScale() const override { return scale; }
  InterfaceIdiom userInterfaceIdiom() const override { return idiom; }
  double scale = 1;
  InterfaceIdiom idiom = InterfaceIdiom::phone;
};

/// Brings the base URLs back that a test has changed.
struct BaseURLScope {
  BaseURLScope() = default;
  BaseURLScope(const BaseURLScope&) = delete;
  BaseURLScope& operator=(const BaseURLScope&) = delete;
  ~BaseURLScope() {
    APIBaseURL::setProduction(production);
    APIBaseURL::setSandbox(sandbox);
  }
  const std::string production = APIBaseURL::production(), sandbox = APIBaseURL::sandbox();
};

/// All fakes, installed as the platform for as long as this lives.
struct FakePlatform {
  BaseURLScope baseURLs;
  std::shared_ptr<FakeMainQueue> mainQueue = std::make_shared<FakeMainQueue>();
  std::shared_ptr<MemoryStore> settings = std::make_shared<MemoryStore>();
  std::shared_ptr<RecordingConsole> console = std::make_shared<RecordingConsole>();
  std::shared_ptr<FakeTransport> transport = std::make_shared<FakeTransport>();
  std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
  std::shared_ptr<FakeCodec> codec = std::make_shared<FakeCodec>();
  std::shared_ptr<FakeWorkQueue> pictureQueue = std::make_shared<FakeWorkQueue>();
  PlatformScope scope{ports()};

  Platform ports() const {
    Platform platform;
    platform.mainQueue = mainQueue;
    platform.notificationCenter = std::make_shared<NotificationCenter>();
    platform.storyboard = makeMainStoryboard();
    platform.settings = settings;
    platform.transport = transport;
    platform.console = console;
    platform.device = device;
    platform.pictureCodec = codec;
    platform.pictureQueue = pictureQueue;
    return platform;
  }
};

}  // namespace veltrane::testing
