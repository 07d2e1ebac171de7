#include "veltrane/face/video_data_output.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace veltrane {

struct VideoDataOutput::State {
  struct Taken {
    PixelBufferPtr frame;
    UnderWay underWay;
  };

  explicit State(CaptureOutput handler) : captureOutput(std::move(handler)) {}

  void run() {
    while (auto taken = next()) captureOutput(taken->frame, std::move(taken->underWay));
  }

  /// Nothing once the output is stopped.
  std::optional<Taken> next() {
    std::unique_lock lock(mutex);
    wake.wait(lock, [this] { return stopped || waiting; });
    if (stopped) return std::nullopt;
    return std::exchange(waiting, std::nullopt);
  }

  const CaptureOutput captureOutput;
  std::mutex mutex;
  std::condition_variable wake;
  std::optional<Taken> waiting;
  std::weak_ptr<const void> underWay;
  bool stopped = false;
  std::thread thread;
};

VideoDataOutput::VideoDataOutput(CaptureOutput captureOutput)
    : state_(std::make_unique<State>(std::move(captureOutput))) {
  state_->thread = std::thread([state = state_.get()] { state->run(); });
}

VideoDataOutput::~VideoDataOutput() {
  stop();
}

bool VideoDataOutput::offer(PixelBufferPtr frame) {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->stopped || !state_->underWay.expired()) return false;
    const UnderWay underWay = std::make_shared<char>();
    state_->underWay = underWay;
    state_->waiting = State::Taken{std::move(frame), underWay};
  }
  state_->wake.notify_one();
  return true;
}

void VideoDataOutput::stop() {
  std::optional<State::Taken> dropped;
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopped = true;
    dropped.swap(state_->waiting);
  }
  state_->wake.notify_all();
  if (state_->thread.joinable()) state_->thread.join();
}

}  // namespace veltrane
