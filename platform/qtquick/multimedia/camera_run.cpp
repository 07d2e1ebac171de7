#include "platform/qtquick/multimedia/camera_run.h"

#include <utility>

namespace veltrane::qtquick::multimedia {

CameraRun::CameraRun(std::unique_ptr<CameraSource> source, const Host& host,
                     const Camera::Events& events, std::chrono::milliseconds pause)
    : failed_(events.failed), relay_(host, events, source->isFront()), source_(std::move(source)) {
  timer_.setInterval(pause);
  connect(&timer_, &QTimer::timeout, this, &CameraRun::look);
}

void CameraRun::start() {
  timer_.start();
  source_->start({.frame = [this](const QVideoFrame& frame) { relay_.take(frame); },
                  .failed = [this](const CameraFault& fault) { fail(fault); },
                  .listChanged =
                      [this] {
                        if (!source_->isListed()) fail({});
                      }});
}

void CameraRun::stop() {
  relay_.stop();
  isOver_ = true;
  timer_.stop();
  // It may be one of the source's calls that this is called from.
  QMetaObject::invokeMethod(
      this,
      [this] {
        source_.reset();
        deleteLater();
      },
      Qt::QueuedConnection);
}

void CameraRun::look() {
  const std::uint64_t shown = relay_.shownFrames();
  if (std::exchange(shownBefore_, shown) != shown) {
    silentLooks_ = 0;
  } else if (++silentLooks_ >= kSilentLooks) {
    fail({});
  }
}

void CameraRun::fail(const CameraFault& fault) {
  if (std::exchange(isOver_, true)) return;
  timer_.stop();
  relay_.stop();
  failed_(failureOf({.isListed = source_->isListed(),
                     .isForbidden = source_->isForbidden(),
                     .hasSeenFrames = relay_.hasSeenFrames(),
                     .hasShownFrames = relay_.shownFrames() > 0,
                     .fault = fault}));
}

}  // namespace veltrane::qtquick::multimedia
