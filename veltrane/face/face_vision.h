#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/face/face_geometry.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// A line through points of a face, such as an eye's.
struct FaceLandmarkRegion {
  /// Normalised over the upright picture, origin at the lower left.
  std::vector<Point> points;
  bool isClosed = false;
};

struct FaceObservation {
  /// Normalised over the upright picture, which is not mirrored; origin at the lower left. May
  /// reach over the picture's edges.
  Rect boundingBox;
  /// From 0 to 1: how sure it is that a face is there.
  double confidence = 1;
  /// Empty unless asked for and found.
  std::vector<FaceLandmarkRegion> landmarks;
};

/// A face that is followed from frame to frame.
struct FaceTrackingRequest {
  /// Tells requests of one screen apart; never used twice.
  std::uint64_t identifier = 0;
  /// Where the face was.
  FaceObservation inputObservation;
  /// The request is not asked again: what is kept for it may go.
  bool isLastFrame = false;
};

/// Observations, or why there are none.
template <typename Result>
struct VisionOutcome {
  std::vector<Result> results;
  std::optional<std::string> error;
  /// Asking again is of no use.
  bool isFinal = false;
};

/// Port: finds faces in frames. One object a screen, made on the main thread, where making it does
/// not take long; asked and destroyed on any thread, by one at a time. Models may load within the
/// first question, as frames that come meanwhile are dropped. Nothing throws.
///
/// A frame is sound and its pixels lie as the camera gave them: `frame.turn` makes it upright, and
/// what is told of it is told of the upright picture.
class FaceVision {
 public:
  virtual ~FaceVision() = default;

  /// Every face in a frame.
  virtual VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& frame) = 0;

  /// For each request, in their order, where its face is now, nothing when it cannot tell. Frames
  /// come in their order, though some may be left out. Faces that may have been seen beside those
  /// follow: nobody follows them, but the person is told that there is more than one.
  virtual VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) = 0;

  /// For each box, in their order, the face in it with its landmarks.
  virtual VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& frame,
                                                             const std::vector<Rect>& boxes) = 0;
};

}  // namespace veltrane
