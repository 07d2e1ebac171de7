#include "apps/vtflow/drive/screens/face_image_capture_adapter.h"

#include <utility>

#include "apps/vtflow/drive/event.h"
#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::tool {
namespace {

JSON rectValue(const std::optional<Rect>& rect) {
  if (!rect) return {};
  return Dictionary{{"x", numberValue(rect->x)},
                    {"y", numberValue(rect->y)},
                    {"width", numberValue(rect->width)},
                    {"height", numberValue(rect->height)}};
}

Dictionary fieldsOf(const FaceImageCaptureVC& screen) {
  const bool isGreen = screen.imgView.strokeColor == face::kGreen;
  return {{"oval", rectValue(screen.ovalRect)}, {"ovalColor", JSON(isGreen ? "green" : "grey")}};
}

}  // namespace

FaceImageCaptureAdapter::FaceImageCaptureAdapter(const std::shared_ptr<FaceImageCaptureVC>& screen,
                                                 ScreenListener listener)
    : ScreenAdapter(screen), screen_(screen) {
  changes_ = screen->changed.subscribe([this, listener = std::move(listener)] {
    const auto changed = screen_.lock();
    if (changed && !told_.empty() && fieldsOf(*changed) != told_) listener.contentReplaced();
  });
}

Dictionary FaceImageCaptureAdapter::describe() {
  if (const auto screen = screen_.lock()) told_ = fieldsOf(*screen);
  return told_;
}

bool FaceImageCaptureAdapter::isWorking() const {
  const auto screen = screen_.lock();
  return screen && screen->isCapturing() && screen->faceDetected;
}

bool FaceImageCaptureAdapter::isWatching() const {
  const auto screen = screen_.lock();
  return screen && screen->isCapturing() && !screen->faceDetected;
}

Refusal FaceImageCaptureAdapter::cancel() {
  if (const auto screen = screen_.lock()) screen->cancelButtonPressed();
  return std::nullopt;
}

}  // namespace veltrane::tool
