#include "platform/opencv/face_vision.h"

#include <string>
#include <utility>

#include "platform/opencv/cascade_vision.h"
#include "platform/opencv/network_vision.h"
#include "veltrane/base/console.h"

namespace veltrane::opencv {
namespace {

/// Opens what finds faces at its first question, as that takes longer than a screen should wait.
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
  bool open() {
    if (!std::exchange(hasTried_, true)) load();
    return vision_ != nullptr;
  }

  void load() {
    auto networks = FaceNetworks::open(error_);
    if (!networks) return;
    if (networks->hasModels()) {
      vision_ = std::make_unique<NetworkVision>(std::move(networks));
    } else {
      console::print(
          "Built without the models for faces: OpenCV's cascade looks for them instead.");
      vision_ = std::make_unique<CascadeVision>(std::move(networks));
    }
  }

  std::unique_ptr<FaceVision> vision_;
  std::string error_;
  bool hasTried_ = false;
};

}  // namespace

std::shared_ptr<FaceVision> makeFaceVision() {
  return std::make_shared<LateVision>();
}

}  // namespace veltrane::opencv
