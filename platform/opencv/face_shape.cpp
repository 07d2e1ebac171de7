#include "platform/opencv/face_shape.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace veltrane::opencv {
namespace {

/// What is looked at is larger than the face by this.
constexpr double kAround = 1.5;
/// Of a detection, which takes in the forehead: how much of its side is the box's, and how far the
/// box's middle lies towards the chin.
constexpr double kBoxOfDetection = 0.9;
constexpr double kBoxBelow = 0.092;
/// The other way, from a box to what is looked at.
constexpr double kAroundBox = 1.65;
constexpr double kAboveBox = 0.08;
/// A point further than this many sides of the square from its middle is not where a face has one.
constexpr double kFar = 1.5;

constexpr int kRightEyeCorner = 33;
constexpr int kLeftEyeCorner = 263;

struct Line {
  std::initializer_list<int> points;
  bool isClosed;
};

// The person's right comes first, which is the picture's left.
constexpr std::initializer_list<int> kRightBrow = {70, 63, 105, 66, 107, 55, 65, 52, 53, 46};
constexpr std::initializer_list<int> kLeftBrow = {300, 293, 334, 296, 336, 285, 295, 282, 283, 276};
constexpr std::initializer_list<int> kRightEye = {33,  7,   163, 144, 145, 153, 154, 155,
                                                  133, 173, 157, 158, 159, 160, 161, 246};
constexpr std::initializer_list<int> kLeftEye = {263, 249, 390, 373, 374, 380, 381, 382,
                                                 362, 398, 384, 385, 386, 387, 388, 466};
constexpr std::initializer_list<int> kNoseCrest = {168, 6, 197, 195, 5, 4};
constexpr std::initializer_list<int> kNoseBase = {98, 97, 2, 326, 327};
constexpr std::initializer_list<int> kOuterLips = {61,  146, 91,  181, 84,  17, 314, 405, 321, 375,
                                                   291, 409, 270, 269, 267, 0,  37,  39,  40,  185};
constexpr std::initializer_list<int> kInnerLips = {78,  95,  88,  178, 87,  14, 317, 402, 318, 324,
                                                   308, 415, 310, 311, 312, 13, 82,  81,  80,  191};
constexpr std::initializer_list<int> kJaw = {234, 93,  132, 58,  172, 136, 150, 149, 176, 148, 152,
                                             377, 400, 378, 379, 365, 397, 288, 361, 323, 454};
const Line kLines[] = {{kJaw, false},      {kRightBrow, true}, {kLeftBrow, true},
                       {kRightEye, true},  {kLeftEye, true},   {kNoseCrest, false},
                       {kNoseBase, false}, {kOuterLips, true}, {kInnerLips, true}};

/// The smallest upright rectangle around points.
struct Bounds {
  double left = HUGE_VAL, top = HUGE_VAL, right = -HUGE_VAL, bottom = -HUGE_VAL;
  void add(const Point& point) {
    left = std::min(left, point.x);
    right = std::max(right, point.x);
    top = std::min(top, point.y);
    bottom = std::max(bottom, point.y);
  }
  Point middle() const { return {(left + right) / 2, (top + bottom) / 2}; }
  double longerSide() const { return std::max(right - left, bottom - top); }
};

Rect squareAround(const Point& middle, double side) {
  return {middle.x - side / 2, middle.y - side / 2, side, side};
}

Rect flipped(const Rect& rect, double height) {
  return {rect.x, height - rect.y - rect.height, rect.width, rect.height};
}

}  // namespace

std::optional<FacePoints> pointsOf(const VeltraneMesh& mesh, const AffineTransform& map) {
  FacePoints points;
  points.reserve(kVeltranePoints);
  for (int i = 0; i < kVeltranePoints; ++i) {
    const float* at = mesh.points + std::ptrdiff_t{i} * kVeltranePointNumbers;
    const auto isNear = [](double value) {
      return std::abs(value - kVeltraneInput / 2.0) < kFar * kVeltraneInput;
    };
    if (!isNear(at[0]) || !isNear(at[1])) return std::nullopt;
    points.push_back(map.apply(Point{at[0], at[1]}));
  }
  const Rect box = boxOf(points);
  return box.width > 0 ? std::optional(std::move(points)) : std::nullopt;
}

Rect boxOf(const FacePoints& points) {
  Bounds bounds;
  for (const auto& line : {kJaw, kRightBrow, kLeftBrow}) {
    for (const int index : line) bounds.add(points[static_cast<std::size_t>(index)]);
  }
  return squareAround(bounds.middle(), bounds.longerSide());
}

Rect boxOf(const Square& detected) {
  const double below = kBoxBelow * detected.side;
  return squareAround({detected.middle.x - below * std::sin(detected.angle),
                       detected.middle.y + below * std::cos(detected.angle)},
                      kBoxOfDetection * detected.side);
}

double overlap(const Rect& one, const Rect& other) {
  const double width =
      std::min(one.x + one.width, other.x + other.width) - std::max(one.x, other.x);
  const double height =
      std::min(one.y + one.height, other.y + other.height) - std::max(one.y, other.y);
  if (width <= 0 || height <= 0) return 0;
  const double both = width * height;
  return both / (one.width * one.height + other.width * other.height - both);
}

Square surroundings(const Square& detected) {
  return {detected.middle, kAround * detected.side, detected.angle};
}

Square surroundings(const FacePoints& points) {
  const Point right = points[kRightEyeCorner];
  const Point left = points[kLeftEyeCorner];
  const double angle = std::atan2(left.y - right.y, left.x - right.x);
  // How large the face is does not depend on how it leans.
  const double cosine = std::cos(angle);
  const double sine = std::sin(angle);
  const AffineTransform upright{.a = cosine, .b = -sine, .c = sine, .d = cosine};
  Bounds bounds;
  for (const Point& point : points) bounds.add(upright.apply(point));
  const Point middle = bounds.middle();
  return {{cosine * middle.x - sine * middle.y, sine * middle.x + cosine * middle.y},
          kAround * bounds.longerSide(),
          angle};
}

Square surroundings(const Rect& box) {
  const double side = std::max(box.width, box.height);
  return {{box.x + box.width / 2, box.y + box.height / 2 - kAboveBox * side}, kAroundBox * side, 0};
}

Rect normalised(const Rect& box, PixelSize size) {
  const Rect turned = flipped(box, size.height);
  return {turned.x / size.width, turned.y / size.height, turned.width / size.width,
          turned.height / size.height};
}

Rect denormalised(const Rect& box, PixelSize size) {
  return flipped(
      {box.x * size.width, box.y * size.height, box.width * size.width, box.height * size.height},
      size.height);
}

std::vector<FaceLandmarkRegion> landmarksOf(const FacePoints& points, PixelSize size) {
  std::vector<FaceLandmarkRegion> regions;
  for (const Line& line : kLines) {
    FaceLandmarkRegion region{.points = {}, .isClosed = line.isClosed};
    for (const int index : line.points) {
      const Point& point = points[static_cast<std::size_t>(index)];
      region.points.push_back({point.x / size.width, 1 - point.y / size.height});
    }
    regions.push_back(std::move(region));
  }
  return regions;
}

}  // namespace veltrane::opencv
