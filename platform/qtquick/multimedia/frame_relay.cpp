#include "platform/qtquick/multimedia/frame_relay.h"

#include <utility>

namespace veltrane::qtquick::multimedia {

FrameRelay::FrameRelay(const Host& host, Camera::Events events, bool isFront,
                       std::function<Time()> now)
    : host_(host), events_(std::move(events)), isFront_(isFront), now_(std::move(now)) {}

FrameRelay::~FrameRelay() {
  stop();
  if (decompressing_.joinable()) decompressing_.join();
}

void FrameRelay::take(const QVideoFrame& frame) {
  // What comes between two sources of a sink.
  if (!frame.isValid() || !isWanted()) return;
  if (kindOf(frame.pixelFormat()) != OfferedFormat::compressed) {
    return handOn(pixelBufferFrom(frame, host_));
  }
  auto copy = std::make_unique<const CompressedFrame>(frame);
  const std::lock_guard lock(mutex_);
  if (isStopped_) return;
  waiting_ = std::move(copy);
  if (!decompressing_.joinable()) decompressing_ = std::thread([this] { decompress(); });
  wake_.notify_one();
}

bool FrameRelay::isWanted() {
  const Time now = now_();
  const std::lock_guard lock(mutex_);
  if (isStopped_ || waiting_ || (latest_ && now - *latest_ < kLeastPause)) return false;
  latest_ = now;
  return true;
}

void FrameRelay::decompress() {
  while (true) {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return isStopped_ || waiting_; });
    if (isStopped_) return;
    const auto frame = std::exchange(waiting_, nullptr);
    lock.unlock();
    handOn(frame->decompressed(host_));
  }
}

void FrameRelay::handOn(const PixelBufferPtr& buffer) {
  bool isFirst = false;
  {
    const std::lock_guard lock(mutex_);
    // A camera that changes from compressed frames to others has one of either kind for a moment.
    if (isStopped_ || calling_) return;
    calling_ = std::this_thread::get_id();
    hasSeenFrames_ = true;
    isFirst = buffer && shownFrames_++ == 0;
  }
  if (isFirst) {
    events_.opened({.resolution = ((*buffer).*host_.uprightSize)(), .isFront = isFront_});
  }
  if (!isStopped()) events_.frame(buffer);
  {
    const std::lock_guard lock(mutex_);
    calling_.reset();
    returned_.notify_all();
  }
}

bool FrameRelay::isStopped() const {
  const std::lock_guard lock(mutex_);
  return isStopped_;
}

bool FrameRelay::hasSeenFrames() const {
  const std::lock_guard lock(mutex_);
  return hasSeenFrames_;
}

std::uint64_t FrameRelay::shownFrames() const {
  const std::lock_guard lock(mutex_);
  return shownFrames_;
}

void FrameRelay::stop() {
  std::unique_lock lock(mutex_);
  isStopped_ = true;
  waiting_.reset();
  wake_.notify_all();
  if (calling_ == std::this_thread::get_id()) return;
  returned_.wait(lock, [this] { return !calling_; });
}

}  // namespace veltrane::qtquick::multimedia
