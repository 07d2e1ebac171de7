#pragma once

#include <vector>

#include "platform/opencv/frame_sampler.h"
#include "platform/opencv/late/vision_module.h"

namespace veltrane::opencv {

/// A face as the detector sees it, forehead included. In whatever pixels it was asked for in,
/// origin at the upper left.
struct Detection {
  Square face;
  /// From 0 to 1.
  double score = 0;
};

/// A cell counts that is surer than this.
inline constexpr double kLeastScore = 0.5;

/// The faces in the detector's answer, the surest first, each once, in pixels of what `map` leads
/// to from the network's input. What is no number, or no face's size, is no face.
std::vector<Detection> facesIn(const VeltraneDetection& found, const AffineTransform& map);

/// From the logarithm of the odds to a probability; 0 for what is no number.
double probability(double score);

}  // namespace veltrane::opencv
