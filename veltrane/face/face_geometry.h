#pragma once

#include <vector>

#include "veltrane/toolkit/picture.h"

namespace veltrane {

struct Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  /// Wholly, edges included. False as soon as a number of either is no number.
  bool contains(const Rect& other) const;
  /// Smaller by `by` on every side.
  Rect inset(double by) const;

  friend bool operator==(const Rect&, const Rect&) = default;
};

/// x' = a x + c y + tx, y' = b x + d y + ty.
struct AffineTransform {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double tx = 0;
  double ty = 0;

  Point apply(Point point) const;
  /// The smallest upright rectangle around the four corners.
  Rect apply(const Rect& rect) const;

  friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

/// Where the parts of the capture screen lie, without a camera, a view or a vision library.
///
/// Three systems of coordinates meet here. *Normalised*: a face as vision tells it, from 0 to 1
/// over the upright picture, origin at the lower left. *Capture*: the same in pixels of the
/// picture. *View*: points on the screen, origin at the upper left.
namespace face {

inline constexpr Size kMaskSize{300, 450};
inline constexpr double kOvalInset = 2;
inline constexpr double kOvalLineWidth = 5;

/// The oval's frame, in the middle of a view of this size. It reaches over the edges of a smaller
/// one.
Rect ovalRectIn(Size view);

/// Normalised to capture.
Rect captureRect(const Rect& normalised, PixelSize resolution);

/// Capture to view: the picture fills the view, keeps its proportions, stays centred, and what is
/// too wide or too high of it lies outside. A mirrored one is swapped left and right. A picture or
/// view without extent: everything falls on the view's centre.
AffineTransform overlayTransform(PixelSize resolution, Size view, bool isMirrored);

}  // namespace face
}  // namespace veltrane
