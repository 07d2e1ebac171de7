#include "platform/qtquick/multimedia/frame_relay.h"

#include <utility>

namespace veltrane::qtquick::multimedia {
namespace {

PixelSize uprightSize(const PixelBuffer& frame) {
  const bool lies = frame.turn == Turn::quarter || frame.turn == Turn::threeQuarters;
  return lies ? PixelSize{frame.size.height, frame.size.width} : frame.size;
}

}  // namespace

FrameRelay::FrameRelay(const Host& host, Camera::Events events, bool isFront)
    : host_(host), events_(std::move(events)), isFront_(isFront) {}

FrameRelay::~FrameRelay() {
  stop();
  if (decompressing_.joinable()) decompressing_.join();
}

void FrameRelay::take(const QVideoFrame& frame) {
  // What comes between two sources of a sink.
  if (!frame.isValid()) return;
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
    if (isStopped_) return;
    hasSeenFrames_ = true;
    isFirst = buffer && !std::exchange(isOpen_, isOpen_ || buffer);
  }
  if (isFirst) events_.opened({.resolution = uprightSize(*buffer), .isFront = isFront_});
  events_.frame(buffer);
}

bool FrameRelay::hasSeenFrames() const {
  const std::lock_guard lock(mutex_);
  return hasSeenFrames_;
}

bool FrameRelay::hasShownFrames() const {
  const std::lock_guard lock(mutex_);
  return isOpen_;
}

void FrameRelay::stop() {
  const std::lock_guard lock(mutex_);
  isStopped_ = true;
  waiting_.reset();
  wake_.notify_all();
}

}  // namespace veltrane::qtquick::multimedia
