#include "platform/qtquick/face_capture_item.h"

#include <QGuiApplication>
#include <QPointer>
#include <chrono>
#include <utility>

#include "platform/qtquick/capture_sounds.h"
#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "veltrane/face/face_image_capture_vc.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::qtquick {
namespace {

/// Longer than the last sound, and than it takes to be heard.
constexpr std::chrono::milliseconds kEnding{1'000};

/// Keeps sounds until the last one has ended, for the screen leaves before; but no longer than
/// there is a program to be heard.
void letEnd(std::shared_ptr<CaptureSounds> sounds) {
  struct Ending final : QObject {
    std::shared_ptr<CaptureSounds> sounds;
  };
  auto* const ending = new Ending;
  ending->sounds = std::move(sounds);
  ending->setParent(qGuiApp);
  QObject::connect(qGuiApp, &QCoreApplication::aboutToQuit, ending,
                   [ending] { ending->sounds.reset(); });
  MainQueue::current().asyncAfter(kEnding, [ended = QPointer<Ending>(ending)] { delete ended; });
}

}  // namespace

FaceCaptureItem::FaceCaptureItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ScreenItem(controller, stage),
      capture_(std::static_pointer_cast<FaceImageCaptureVC>(std::move(controller))),
      makeSounds_(captureSoundsMaker()) {
  frames_ = capture_->framePassed.subscribe([this] { emit framePassed(); });
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
          &FaceCaptureItem::inBackgroundChanged);
  if (makeSounds_) connect(this, &ViewItem::changed, this, &FaceCaptureItem::sound);
}

FaceCaptureItem::~FaceCaptureItem() = default;

QRectF FaceCaptureItem::oval() const {
  const Rect oval = capture_->ovalRect.value_or(Rect{});
  return {oval.x, oval.y, oval.width, oval.height};
}

QColor FaceCaptureItem::ovalColor() const {
  return toQColor(capture_->imgView.strokeColor);
}
FaceCaptureItem::Hint FaceCaptureItem::hint() const {
  return static_cast<Hint>(capture_->hint);
}
bool FaceCaptureItem::isPicturing() const {
  return capture_->imagePixelBuffer != nullptr;
}
bool FaceCaptureItem::isAccepted() const {
  return capture_->faceDetected;
}
bool FaceCaptureItem::isCapturing() const {
  return capture_->isCapturing();
}

bool FaceCaptureItem::isInBackground() {
  const auto state = QGuiApplication::applicationState();
  return state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended;
}

void FaceCaptureItem::sound() {
  const auto nearness = capture_->isCapturing() ? capture_->nearness : std::nullopt;
  // Not while the screen opens, which finding a loudspeaker would hold up.
  if (!sounds_ && nearness && makeSounds_) sounds_ = std::exchange(makeSounds_, nullptr)();
  if (!sounds_) return;
  if (!isAccepted()) return sounds_->setNearness(nearness);
  if (std::exchange(wasAccepted_, true)) return;
  sounds_->pictureTaken();
  letEnd(sounds_);
}

void FaceCaptureItem::layOut(double width, double height) {
  if (capture_->bounds != Size{width, height}) capture_->viewDidLayoutSubviews({width, height});
}

void FaceCaptureItem::setSeen(bool seen) {
  if (seen) {
    capture_->applicationWillEnterForeground();
  } else {
    capture_->applicationDidEnterBackground();
  }
}

void FaceCaptureItem::cancel() {
  capture_->cancelButtonPressed();
}

}  // namespace veltrane::qtquick
