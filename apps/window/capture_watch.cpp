#include "apps/window/capture_watch.h"

#include <chrono>
#include <utility>

#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::window {
namespace {

constexpr std::chrono::milliseconds kFade{250};

std::string nameOf(FaceHint hint) {
  switch (hint) {
    case FaceHint::noFace:
      return "no face";
    case FaceHint::severalFaces:
      return "several faces";
    case FaceHint::comeCloser:
      return "face too far away";
    case FaceHint::moveBack:
      return "face too close";
    case FaceHint::moveLeft:
    case FaceHint::moveRight:
    case FaceHint::moveUp:
    case FaceHint::moveDown:
      return "face outside";
    case FaceHint::tooDark:
      return "too dark";
    case FaceHint::blurred:
      return "blurred";
    case FaceHint::none:
      break;
  }
  return "";
}

}  // namespace

std::unique_ptr<CaptureWatch> CaptureWatch::make(const std::shared_ptr<ViewController>& screen,
                                                 Seen seen) {
  const auto capture = std::dynamic_pointer_cast<FaceImageCaptureVC>(screen);
  return capture ? std::make_unique<CaptureWatch>(capture, std::move(seen)) : nullptr;
}

CaptureWatch::CaptureWatch(const std::shared_ptr<FaceImageCaptureVC>& screen, Seen seen)
    : screen_(screen), seen_(std::move(seen)) {
  fading_.setSingleShot(true);
  fading_.setInterval(kFade);
  connect(&fading_, &QTimer::timeout, this, [this] { seen_(nameOf(hint_)); });
  changes_ = screen->changed.subscribe([this] { changed(); });
}

bool CaptureWatch::isCapturing() const {
  const auto screen = screen_.lock();
  return screen && screen->isCapturing();
}

void CaptureWatch::changed() {
  const auto screen = screen_.lock();
  if (!screen) return;
  if (screen->faceDetected && !std::exchange(isTaken_, true)) {
    fading_.stop();
    // Not within the signal: those who draw hear it too. And soon, for the screen is about to go.
    QMetaObject::invokeMethod(
        this, [this] { seen_("face inside"); }, Qt::QueuedConnection);
  }
  if (isTaken_ || screen->hint == hint_) return;
  hint_ = screen->hint;
  if (hint_ == FaceHint::none) return fading_.stop();
  fading_.start();
}

}  // namespace veltrane::window
