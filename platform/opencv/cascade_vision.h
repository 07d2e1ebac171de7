#pragma once

#include <memory>
#include <vector>

#include "platform/opencv/face_networks.h"
#include "veltrane/face/face_vision.h"

namespace veltrane::opencv {

/// Faces by OpenCV's cascade of local binary patterns, where there are no models: upright frontal
/// ones. A face is followed by finding it again near where it was, and the confidence grows with
/// how many slightly different windows have shown it. There are no landmarks.
class CascadeVision final : public FaceVision {
 public:
  explicit CascadeVision(std::unique_ptr<FaceNetworks> networks);

  VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& frame) override;
  VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) override;
  VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& frame,
                                                     const std::vector<Rect>& boxes) override;

 private:
  const std::unique_ptr<FaceNetworks> networks_;
};

}  // namespace veltrane::opencv
