#include <gtest/gtest.h>

#include <limits>

#include "veltrane/face/face_drawing.h"
#include "veltrane/face/face_geometry.h"

namespace veltrane::testing {
namespace {

constexpr Size kView{390, 844};

TEST(FaceGeometry, theOvalLiesInTheMiddle) {
  EXPECT_EQ(face::ovalRectIn(kView), (Rect{45, 197, 300, 450}));
  EXPECT_EQ(face::ovalRectIn({200, 400}), (Rect{-50, -25, 300, 450})) << "larger than the view";
  EXPECT_EQ(face::ovalRectIn(kView).inset(face::kOvalInset), (Rect{47, 199, 296, 446}));
}

TEST(FaceGeometry, aRectangleContainsWhatTouchesItsEdgesAndNothingThatIsNoNumber) {
  const Rect oval = face::ovalRectIn(kView);
  EXPECT_TRUE(oval.contains(oval));
  EXPECT_TRUE(oval.contains({100, 300, 50, 60}));
  EXPECT_FALSE(oval.contains({44.9, 300, 50, 60}));
  EXPECT_FALSE(oval.contains({100, 196.9, 50, 60}));
  EXPECT_FALSE(oval.contains({300, 300, 45.1, 60}));
  EXPECT_FALSE(oval.contains({100, 600, 50, 47.1}));
  const double no = std::numeric_limits<double>::quiet_NaN();
  for (const Rect& odd : {Rect{no, 300, 50, 60}, Rect{100, no, 50, 60}, Rect{100, 300, no, 60},
                          Rect{100, 300, 50, std::numeric_limits<double>::infinity()}}) {
    EXPECT_FALSE(oval.contains(odd));
  }
}

TEST(FaceGeometry, aPictureFillsTheViewUprightAndMirrored) {
  // As high as the view once doubled, and wider: 105 points lie outside on either side.
  const PixelSize wide{300, 422};
  const auto plain = face::overlayTransform(wide, kView, false);
  EXPECT_EQ(plain.apply(Point{0, 0}), (Point{-105, 844})) << "the origin is at the lower left";
  EXPECT_EQ(plain.apply(Point{300, 422}), (Point{495, 0}));
  const auto mirrored = face::overlayTransform(wide, kView, true);
  EXPECT_EQ(mirrored.apply(Point{0, 0}), (Point{495, 844}));
  // A face in the upper left of the picture lies in the upper right of the mirror.
  const Rect captured = face::captureRect({0.25, 0.75, 0.1, 0.25}, wide);
  EXPECT_EQ(captured, (Rect{75, 316.5, 30, 105.5}));
  EXPECT_EQ(plain.apply(captured), (Rect{45, 0, 60, 211}));
  EXPECT_EQ(mirrored.apply(captured), (Rect{285, 0, 60, 211}));
  const PixelSize high{195, 1000};
  EXPECT_EQ(face::overlayTransform(high, kView, false).apply(Point{195, 1000}), (Point{390, -578}));
}

TEST(FaceGeometry, withoutAPictureEverythingFallsOnTheMiddle) {
  const auto none = face::overlayTransform({}, kView, true);
  EXPECT_EQ(none.apply(Rect{1, 2, 3, 4}), (Rect{195, 422, 0, 0}));
}

TEST(FaceGeometry, outlinesAndLandmarksAreDrawnInCaptureCoordinates) {
  const FaceObservation face{.boundingBox = {0.25, 0.5, 0.5, 0.25},
                             .landmarks = {{.points = {{0.5, 0.25}}, .isClosed = true}}};
  const auto outline = face::outlines({face}, {200, 400}).at(0);
  EXPECT_TRUE(outline.isClosed);
  EXPECT_EQ(outline.points, (std::vector<Point>{{50, 200}, {150, 200}, {150, 300}, {50, 300}}));
  const auto line = face::landmarkLines({face}, {200, 400}).at(0);
  EXPECT_EQ(line.points, (std::vector<Point>{{100, 100}}));
  EXPECT_TRUE(line.isClosed);
}

}  // namespace
}  // namespace veltrane::testing
