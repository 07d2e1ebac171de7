#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/opencv/face_networks.h"
#include "veltrane/face/face_vision.h"

namespace veltrane::opencv {

/// Faces by two networks: one finds what may be faces in a frame; the other sees the features of
/// one, or that it is none.
class NetworkVision final : public FaceVision {
 public:
  explicit NetworkVision(std::unique_ptr<FaceNetworks> networks);

  VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& frame) override;
  VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) override;
  VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& frame,
                                                     const std::vector<Rect>& boxes) override;

 private:
  /// A face that has been told of, and what a box does not tell about it.
  struct Known {
    Rect box;
    Square surroundings;
    /// Empty when it is not there any more.
    FacePoints points;
    double presence = 0;
  };
  /// Which frame `followed_` is of: its pixels, as long as they live.
  struct Pixels {
    const std::uint8_t* first = nullptr;
    std::weak_ptr<const void> memory;
  };

  std::optional<FaceNetworks::Look> follow(const PixelBuffer& frame, Square square,
                                           std::string& error);
  bool lookForOthers(const PixelBuffer& frame, const std::vector<Detection>& detections,
                     const std::vector<Known>& faces, std::string& error);
  bool putRight(const PixelBuffer& frame, std::vector<Known>& faces, std::string& error);
  static void keepApart(std::vector<Known>& faces,
                        const std::vector<FaceTrackingRequest>& requests);
  static Known knownOf(FaceNetworks::Look seen, PixelSize size);
  Square surroundingsOf(const Rect& box, PixelSize size) const;
  const FacePoints* pointsIn(const PixelBuffer& frame, const Rect& box) const;

  const std::unique_ptr<FaceNetworks> networks_;
  /// Of the latest detection, and of the latest frame with followed faces.
  std::vector<Known> detected_;
  std::vector<Known> followed_;
  Pixels pixels_;
  int framesSinceDetection_ = 0;
  /// Faces beside the followed ones, when the detector was last asked.
  std::vector<FaceObservation> others_;
};

}  // namespace veltrane::opencv
