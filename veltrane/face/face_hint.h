#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "veltrane/face/face_geometry.h"
#include "veltrane/face/face_vision.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// What helps a person into the oval. Directions are the person's own, as seen in a mirror: whoever
/// moves to the right moves the face to the right of a mirrored picture.
enum class FaceHint : std::uint8_t {
  none,
  noFace,
  severalFaces,
  comeCloser,
  moveBack,
  moveLeft,
  moveRight,
  moveUp,
  moveDown,
  tooDark,
  blurred,
};

/// What can be told of a frame's light without finding anything in it.
struct FrameLight {
  /// Of the luma, from 0 to 1.
  double mean = 0.5;
  /// How much of its contrast lies in the finest details that count, from 0 up: a sharp face has
  /// 0.2 and more. Nothing where there is no contrast or are too few pixels to be sharp.
  std::optional<double> sharpness;
};

/// A help only: nothing here decides whether a picture is taken.
namespace face {

/// A face is asked to come closer below this share of the oval's width.
inline constexpr double kSmallFace = 0.35;
/// Darker than a dark face in any usable light.
inline constexpr double kDark = 0.09;
/// What a photograph has that is blurred by some 4 % of the face's width.
inline constexpr double kBlurred = 0.07;

/// Of the largest of the faces, or of the whole frame when there is none. Looks at 36,864 samples
/// at most, whatever the frame's size. `frame` is sound; any thread.
FrameLight lightOf(const PixelBuffer& frame, const std::vector<FaceObservation>& faces);

/// One word for a frame. `faces` are in view coordinates, as are oval and view.
FaceHint hintFor(const std::vector<Rect>& faces, const Rect& oval, const FrameLight& light,
                 bool isMirrored);

/// How near the face that lies best is to lying in the oval: 1 within it, less the farther it
/// reaches out, 0 from the oval's own width on. Nothing without a face.
std::optional<double> nearness(const std::vector<Rect>& faces, const Rect& oval);

}  // namespace face

/// Keeps a hint from flickering: it is shown once it has held for a while, and goes soon after it
/// no longer does.
class SteadyHint {
 public:
  static constexpr int kFramesToShow = 15;
  static constexpr int kFramesToGo = 5;

  /// The hint of the next frame; the one to show from now on.
  FaceHint next(FaceHint hint);
  FaceHint shown() const { return shown_; }
  void reset() { *this = {}; }

 private:
  FaceHint shown_ = FaceHint::none;
  FaceHint candidate_ = FaceHint::none;
  int held_ = 0;
  int missed_ = 0;
};

}  // namespace veltrane
