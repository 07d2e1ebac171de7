#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "veltrane/face/face_vision.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// What one frame has shown, to be drawn on the main thread.
struct FacesInFrame {
  /// Never null.
  PixelBufferPtr frame;
  std::vector<FaceObservation> faces;
  /// Of faces that nobody follows. No picture is taken of them.
  std::vector<Rect> others;
  /// Followed from an earlier frame to this one: such a face may be taken a picture of. One that
  /// has just been found may not.
  bool areTracked = false;
};

/// What is done with each frame: while no face is known, faces are looked for; those found are
/// followed from then on, until vision is no longer sure of them. One thread at a time.
class FaceTracking {
 public:
  /// A face is followed on while vision is surer of it than this.
  static constexpr double kConfidence = 0.8;

  explicit FaceTracking(std::shared_ptr<FaceVision> vision);

  /// The next frame, null when the camera could not get its pixels. Nothing when there is nothing
  /// new to draw; what failed is told on the console, and the next frame tries again unless that
  /// is of no use.
  std::optional<FacesInFrame> captureOutput(const PixelBufferPtr& frame);

  const std::vector<FaceTrackingRequest>& trackingRequests() const { return trackingRequests_; }

  /// Vision has said that it will never answer. It is not asked again.
  bool isOver() const { return isOver_; }

 private:
  template <typename Result>
  void tellFailure(const char* request, const VisionOutcome<Result>& outcome);
  std::optional<FacesInFrame> detect(const PixelBufferPtr& frame);
  std::optional<FacesInFrame> track(const PixelBufferPtr& frame);
  std::vector<Rect> takeOver(std::vector<std::optional<FaceObservation>> results);

  const std::shared_ptr<FaceVision> vision_;
  std::vector<FaceTrackingRequest> trackingRequests_;
  std::uint64_t lastIdentifier_ = 0;
  bool isOver_ = false;
};

}  // namespace veltrane
