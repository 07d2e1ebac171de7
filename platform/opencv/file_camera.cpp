#include "platform/opencv/file_camera.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/opencv/file_source.h"
#include "platform/opencv/late_library.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::opencv {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// A frame that has not been looked at is offered again after this long.
constexpr std::chrono::milliseconds kAgain{2};
/// How often a scene is shown that stands still.
constexpr Seconds kStill{1.0 / 30};
constexpr Seconds kLongestPause{3600};
/// No face is first found, then followed and accepted, in fewer looks at the last frame.
constexpr int kLastLooks = 10;

std::string nothingIn(const std::filesystem::path& path) {
  return "there is no picture in " + path.string() + " that can be read, of at most " +
         std::to_string(Picture::kMaxPixels >> 20) + " megapixels";
}

/// Threads that nobody has waited for yet.
class LetGo {
 public:
  ~LetGo() { join(); }
  void join() {
    std::unique_lock lock(mutex_);
    auto threads = std::exchange(threads_, {});
    lock.unlock();
    for (auto& thread : threads) thread.join();
  }
  void add(std::thread thread) {
    const std::lock_guard lock(mutex_);
    threads_.push_back(std::move(thread));
  }
  static LetGo& instance() {
    static LetGo all;
    return all;
  }

 private:
  std::mutex mutex_;
  std::vector<std::thread> threads_;
};

/// What the camera's thread works on. It may outlive the camera by the rest of a call, or of the
/// time that OpenCV takes to load.
class Feed {
 public:
  explicit Feed(FileCameraOptions options) : options_(std::move(options)) {}

  void run(const Camera::Events& events) {
    thread_ = std::this_thread::get_id();
    try {
      FileSource::load();
      if (begin()) show(events);
    } catch (const std::exception& error) {
      if (begin()) fail(events, CameraError::lost, error.what());
    }
  }

  /// Within one of the camera's calls.
  bool isThisThread() const { return thread_ == std::this_thread::get_id(); }

  /// False while OpenCV loads: then no call runs, and none will.
  bool stop() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    wake_.notify_all();
    return hasBegun_;
  }

 private:
  /// False once the camera is stopped.
  bool begin() {
    const std::lock_guard lock(mutex_);
    hasBegun_ = true;
    return !isStopped_;
  }

  void show(const Camera::Events& events) {
    std::string problem;
    const auto source = FileSource::open(options_.path, problem);
    if (!source) return fail(events, CameraError::noCamera, std::move(problem));
    // Only a picture that can be read tells how large they are.
    int unreadable = 0;
    auto frame = source->next();
    for (; frame && !*frame && !isStopped(); frame = source->next()) ++unreadable;
    if (!frame) return fail(events, CameraError::noSuitableFormat, nothingIn(options_.path));
    if (isStopped()) return;
    events.opened({.resolution = (*frame)->uprightSize(), .isFront = true});
    const Seconds pause = pauseOf(*source);
    for (; unreadable > 0; --unreadable) {
      if (!offer(events, nullptr, pause)) return;
    }
    while (auto following = source->next()) {
      if (!offer(events, *frame, pause)) return;
      frame = std::move(following);
    }
    standStill(events, *frame, pause);
  }

  Seconds pauseOf(const FileSource& source) const {
    const auto rate =
        source.framesPerSecond() ? source.framesPerSecond() : options_.framesPerSecond;
    return rate && *rate > 0 ? std::min(Seconds(1 / *rate), kLongestPause) : Seconds(0);
  }

  /// Until it has been looked at, then until the next one is due. False once the camera is stopped.
  bool offer(const Camera::Events& events, PixelBufferPtr frame, Seconds pause) {
    const auto start = Clock::now();
    while (!isStopped()) {
      if (events.frame(frame)) return waitUntil(start + pause);
      waitUntil(Clock::now() + kAgain);
    }
    return false;
  }

  void standStill(const Camera::Events& events, const PixelBufferPtr& frame, Seconds pause) {
    for (int looks = 0; looks < kLastLooks; ++looks) {
      if (!offer(events, frame, pause)) return;
    }
    if (options_.ended) options_.ended();
    while (offer(events, frame, std::max(pause, kStill))) continue;
  }

  void fail(const Camera::Events& events, CameraError::Code code, std::string why) {
    if (!isStopped()) events.failed({code, std::move(why)});
  }

  bool isStopped() {
    const std::lock_guard lock(mutex_);
    return isStopped_;
  }
  /// False once the camera is stopped.
  template <typename Time>
  bool waitUntil(Time time) {
    std::unique_lock lock(mutex_);
    return !wake_.wait_until(lock, time, [this] { return isStopped_; });
  }

  const FileCameraOptions options_;
  std::atomic<std::thread::id> thread_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool hasBegun_ = false;
  bool isStopped_ = false;
};

class FileCamera final : public Camera {
 public:
  explicit FileCamera(FileCameraOptions options)
      : feed_(std::make_shared<Feed>(std::move(options))) {}
  ~FileCamera() override {
    stopRunning();
    // Within one of its own calls, of which no more is left than to return.
    if (thread_.joinable()) thread_.detach();
  }

  void startRunning(Events events) override {
    thread_ = std::thread([feed = feed_, events = std::move(events)] { feed->run(events); });
  }

  /// No call runs when this returns, but the one that it may have been called from.
  void stopRunning() override {
    const bool mayBeCalling = feed_->stop();
    if (feed_->isThisThread() || !thread_.joinable()) return;
    if (mayBeCalling) return thread_.join();
    LetGo::instance().add(std::move(thread_));
  }

 private:
  const std::shared_ptr<Feed> feed_;
  std::thread thread_;
};

}  // namespace

void restrainFileReaders() {
  setenv("OPENCV_IO_MAX_IMAGE_PIXELS", std::to_string(Picture::kMaxPixels).c_str(), 0);
  setenv("OPENCV_FFMPEG_LOGLEVEL", "-8", 0);
}

std::shared_ptr<Camera> makeFileCamera(FileCameraOptions options) {
  return std::make_shared<FileCamera>(std::move(options));
}

void waitForFileCameras() {
  LetGo::instance().join();
}

std::optional<std::string> fileCameraProblem(const std::filesystem::path& path) {
  const WithoutSignals held;
  std::string problem;
  const auto source = FileSource::open(path, problem);
  if (!source) return problem;
  while (const auto frame = source->next()) {
    if (*frame) return std::nullopt;
  }
  return nothingIn(path);
}

}  // namespace veltrane::opencv
