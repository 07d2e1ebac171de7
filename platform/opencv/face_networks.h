#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/opencv/detections.h"
#include "platform/opencv/face_shape.h"
#include "platform/opencv/frame_sampler.h"
#include "platform/opencv/late/vision_module.h"

namespace veltrane::opencv {

/// What a network or the cascade makes of a frame, in pixels of its upright picture, origin at the
/// upper left. One thread at a time. Nothing (and `error` says why) when OpenCV fails.
class FaceNetworks {
 public:
  /// A face that only the cascade has seen.
  struct Sighting {
    Rect box;
    /// How many slightly different windows have shown it.
    int count = 0;
  };
  struct Look {
    /// From 0 to 1: how sure it is that this is a face, with a margin for what only looks like one.
    double presence = 0;
    /// Empty unless it is more likely one than not.
    FacePoints points;
  };

  /// Loads OpenCV and the models; null when they cannot be had.
  static std::unique_ptr<FaceNetworks> open(std::string& error);
  ~FaceNetworks();
  FaceNetworks(const FaceNetworks&) = delete;
  FaceNetworks& operator=(const FaceNetworks&) = delete;

  /// Built with the models; without them there is `cascade` alone.
  bool hasModels() const;

  std::optional<std::vector<Detection>> detect(const PixelBuffer& frame, std::string& error);
  std::optional<Look> look(const PixelBuffer& frame, const Square& square, std::string& error);
  /// In the square, which is looked at with `side` pixels a side.
  std::optional<std::vector<Sighting>> cascade(const PixelBuffer& frame, const Square& square,
                                               int side, std::string& error);

 private:
  FaceNetworks(const VeltraneVisionFunctions& functions, void* vision);

  const VeltraneVisionFunctions& functions_;
  void* const vision_;
  FrameSampler sampler_;
  const std::unique_ptr<VeltraneDetection> detection_;
  const std::unique_ptr<VeltraneMesh> mesh_;
};

/// All of a frame.
Square wholeOf(const PixelBuffer& frame);

}  // namespace veltrane::opencv
