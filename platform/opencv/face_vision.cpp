#include "platform/opencv/face_vision.h"

#include <string>

namespace veltrane::opencv {
namespace {

class NoVision final : public FaceVision {
 public:
  explicit NoVision(std::string reason) : reason_(std::move(reason)) {}
  VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& /*frame*/) override {
    return {{}, reason_};
  }
  VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& /*frame*/, const std::vector<FaceTrackingRequest>& /*requests*/) override {
    return {{}, reason_};
  }
  VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& /*frame*/,
                                                     const std::vector<Rect>& /*boxes*/) override {
    return {{}, reason_};
  }

 private:
  const std::string reason_;
};

}  // namespace

std::shared_ptr<FaceVision> makeFaceVision() {
  return std::make_shared<NoVision>("built without OpenCV");
}

}  // namespace veltrane::opencv
