#pragma once

#include <QImage>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/qtquick/face_capture_item.h"
#include "tests/face/fakes.h"
#include "tests/qtquick/front_end.h"
#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::qtquick::test {

/// A frame with the colours of an image, or grey that gets brighter to the right.
PixelBufferPtr frameOf(const QImage& image);
QImage shades(QSize size);

struct CaptureOutcome final : FaceImageCaptureVCDelegate {
  void faceImageCaptureResult(const std::optional<std::string>& png,
                              const std::optional<VeltraneFlowError>& error) override {
    heard.push_back(png ? *png : error->errorDescription());
  }
  std::vector<std::string> heard;
};

/// The capture screen in a window, camera and eyes in the test's hand.
class CaptureFrontEnd : public FrontEnd {
 protected:
  CaptureFrontEnd() : ports_(portsWith(*this)) { capture_->delegate = outcome_; }
  ~CaptureFrontEnd() override {
    if (capture_->presentingViewController()) capture_->dismiss(false);
    settle();
  }

  static Platform portsWith(CaptureFrontEnd& test);
  /// The screen is on display and its camera open.
  void show();
  /// Frames until faces are followed in these boxes, and what they show is drawn.
  void follow(std::vector<Rect> faces, const PixelBufferPtr& frame);
  /// Frames until it is so.
  void film(const PixelBufferPtr& frame, const std::function<bool()>& condition);
  FaceCaptureItem* view() { return qobject_cast<FaceCaptureItem*>(stage().activeView()); }
  QImage seen();

  std::shared_ptr<SizeCodec> codec_ = std::make_shared<SizeCodec>();
  std::shared_ptr<FakeCamera> camera_ = std::make_shared<FakeCamera>();
  std::shared_ptr<FakeVision> vision_ = std::make_shared<FakeVision>();
  PlatformScope ports_;
  std::shared_ptr<CaptureOutcome> outcome_ = std::make_shared<CaptureOutcome>();
  std::shared_ptr<FaceImageCaptureVC> capture_ = std::make_shared<FaceImageCaptureVC>();
};

}  // namespace veltrane::qtquick::test
