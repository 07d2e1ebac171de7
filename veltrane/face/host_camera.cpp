#include "veltrane/face/host_camera.h"

#include <utility>

#include "veltrane/base/console.h"

namespace veltrane {

struct HostCamera::Call {
  std::shared_ptr<const Events> events;
  /// It is the first.
  bool opens = false;
};

HostCamera::HostCamera(Options options) : options_(std::move(options)) {}

HostCamera::~HostCamera() {
  stopRunning();
}

void HostCamera::startRunning(Events events) {
  const auto listener = std::make_shared<const Events>(std::move(events));
  {
    const std::lock_guard lock(mutex_);
    events_ = listener;
    hasStarted_ = !isOver_;
  }
  if (!hasStarted_) return finish(*listener);
  if (options_.started) options_.started();
}

void HostCamera::stopRunning() {
  {
    const std::lock_guard lock(mutex_);
    events_.reset();
    isOver_ = true;
  }
  if (std::exchange(hasStarted_, false) && options_.stopped) options_.stopped();
}

bool HostCamera::isWanted() const {
  const std::lock_guard lock(mutex_);
  return events_ && !isOver_;
}

bool HostCamera::push(PixelBufferPtr frame) {
  if (frame && !frame->isSound()) frame.reset();
  if (!frame && isFirstUseless()) {
    console::print(
        "The host's camera began with a frame that has no pixels, or planes and strides that do "
        "not fit its size. Nothing is shown before one that can be used.");
  }
  const auto call = begin(frame != nullptr);
  if (!call) return false;
  if (call->opens) {
    call->events->opened({.resolution = frame->uprightSize(), .isFront = options_.isFront});
  }
  const bool isLookedAt = call->events->frame(std::move(frame));
  finish(*call->events);
  return isLookedAt;
}

/// Whether to tell: with no usable frame ever there is nothing else to see what is wrong by.
bool HostCamera::isFirstUseless() {
  const std::lock_guard lock(mutex_);
  return events_ && !isOver_ && !isOpen_ && !std::exchange(hasToldOfUseless_, true);
}

/// Nothing when the frame is to be dropped.
std::optional<HostCamera::Call> HostCamera::begin(bool hasPixels) {
  const std::lock_guard lock(mutex_);
  if (!events_ || isOver_ || isCalling_ || (!isOpen_ && !hasPixels)) return std::nullopt;
  isCalling_ = true;
  return Call{.events = events_, .opens = !std::exchange(isOpen_, true)};
}

/// No other call runs now: tells of a loss that came meanwhile.
void HostCamera::finish(const Events& events) {
  std::optional<CameraError> error;
  {
    const std::lock_guard lock(mutex_);
    isCalling_ = false;
    if (events_) error.swap(error_);
  }
  if (error) events.failed(std::move(*error));
}

void HostCamera::lost(CameraError error) {
  std::shared_ptr<const Events> listener;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(isOver_, true)) return;
    error_ = std::move(error);
    if (!isCalling_) listener = events_;
  }
  if (listener) finish(*listener);
}

}  // namespace veltrane
