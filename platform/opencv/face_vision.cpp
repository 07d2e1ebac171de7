#include "platform/opencv/face_vision.h"

#include <exception>
#include <future>
#include <string>
#include <utility>

#include "platform/opencv/cascade_vision.h"
#include "platform/opencv/network_vision.h"
#include "veltrane/base/console.h"

namespace veltrane::opencv {
namespace {

/// Gets ready what finds faces on a thread of its own, as that takes longer than a screen should
/// wait, and is asked when the camera is open at last.
class LateVision final : public FaceVision {
 public:
  VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& frame) override {
    if (!open()) return {{}, error_, true};
    return vision_->detectFaceRectangles(frame);
  }
  VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) override {
    if (!open()) return {{}, error_, true};
    return vision_->trackFaces(frame, requests);
  }
  VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& frame,
                                                     const std::vector<Rect>& boxes) override {
    if (!open()) return {{}, error_, true};
    return vision_->detectFaceLandmarks(frame, boxes);
  }

 private:
  /// Or why there are none.
  struct Loaded {
    std::unique_ptr<FaceNetworks> networks;
    std::string error;
  };

  static Loaded load() {
    Loaded loaded;
    try {
      loaded.networks = FaceNetworks::open(loaded.error);
    } catch (const std::exception& exception) {
      loaded.error = exception.what();
    }
    return loaded;
  }

  bool open() {
    if (loading_.valid()) take(loading_.get());
    return vision_ != nullptr;
  }

  void take(Loaded loaded) {
    error_ = std::move(loaded.error);
    if (!loaded.networks) return;
    if (loaded.networks->hasModels()) {
      vision_ = std::make_unique<NetworkVision>(std::move(loaded.networks));
    } else {
      console::print(
          "Built without the models for faces: OpenCV's cascade looks for them instead.");
      vision_ = std::make_unique<CascadeVision>(std::move(loaded.networks));
    }
  }

  std::unique_ptr<FaceVision> vision_;
  std::string error_;
  /// Where no thread can be had, it loads within the first question.
  std::future<Loaded> loading_ = std::async(load);
};

}  // namespace

std::shared_ptr<FaceVision> makeFaceVision() {
  return std::make_shared<LateVision>();
}

}  // namespace veltrane::opencv
