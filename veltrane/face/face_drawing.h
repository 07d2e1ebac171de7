#pragma once

#include <vector>

#include "veltrane/face/face_geometry.h"
#include "veltrane/face/face_vision.h"
#include "veltrane/toolkit/color.h"

namespace veltrane {

// What lies over the live picture, as state that a front end draws.

/// Everything but the oval is darkened: the view's rectangle and the oval in it, by the even-odd
/// rule.
struct OvalDimming {
  Color color{0, 0, 0, 1};
  double opacity = 0.8;
};

/// The oval itself: the ellipse that touches `path` on all four sides, in view coordinates.
struct OvalImage {
  Rect path;
  Color strokeColor;
  double lineWidth = face::kOvalLineWidth;
};

/// Lines around what was found, unfilled, in capture coordinates.
struct FaceShapeLayer {
  Color strokeColor;
  double lineWidth = 0;
  double shadowOpacity = 0.7;
  double shadowRadius = 5;
  std::vector<FaceLandmarkRegion> path;
};

/// What is in capture coordinates, and how it comes into the view.
struct DetectionOverlay {
  PixelSize bounds;
  AffineTransform affineTransform;
};

namespace face {

inline constexpr Color kLightGrey{2.0 / 3, 2.0 / 3, 2.0 / 3, 1};
inline constexpr Color kGreen{0, 1, 0, 1};
inline constexpr Color kOutlineGreen{0, 1, 0, 0.7};
inline constexpr Color kLandmarkYellow{1, 1, 0, 0.7};

/// The outlines of faces, and the lines of their landmarks, in capture coordinates.
std::vector<FaceLandmarkRegion> outlines(const std::vector<FaceObservation>& faces,
                                         PixelSize resolution);
std::vector<FaceLandmarkRegion> landmarkLines(const std::vector<FaceObservation>& faces,
                                              PixelSize resolution);

}  // namespace face
}  // namespace veltrane
