#include "platform/qtquick/face_capture_item.h"

#include <QGuiApplication>
#include <utility>

#include "platform/qtquick/capture_sounds.h"
#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::qtquick {

FaceCaptureItem::FaceCaptureItem(std::shared_ptr<ViewController> controller, FlowStage& stage)
    : ScreenItem(controller, stage),
      capture_(std::static_pointer_cast<FaceImageCaptureVC>(std::move(controller))),
      sounds_(makeCaptureSounds()) {
  frames_ = capture_->framePassed.subscribe([this] { emit framePassed(); });
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &ViewItem::changed);
  if (sounds_) connect(this, &ViewItem::changed, this, &FaceCaptureItem::sound);
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
  if (isAccepted()) {
    if (!std::exchange(wasAccepted_, true)) sounds_->pictureTaken();
    return;
  }
  sounds_->setNearness(capture_->isCapturing() ? capture_->nearness : std::nullopt);
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
