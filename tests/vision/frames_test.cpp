// One face in frames of every kind.
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

#include "platform/opencv/face_shape.h"
#include "platform/opencv/face_vision.h"
#include "tests/support/fakes.h"
#include "tests/vision/face_clip.h"

namespace veltrane::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr PixelFormat kFormats[] = {PixelFormat::nv12, PixelFormat::i420, PixelFormat::yuy2,
                                    PixelFormat::rgb, PixelFormat::bgra};
constexpr Turn kTurns[] = {Turn::none, Turn::quarter, Turn::half, Turn::threeQuarters};

class Frames : public ::testing::Test {
 protected:
  /// A face over something else, in a picture of this size.
  static Canvas faceIn(PixelSize size, Pose& pose) {
    Random random(5);
    Canvas canvas = scene(random, size);
    const double shorter = std::min(size.width, size.height);
    pose = {.middle = {0.45 * size.width, 0.52 * size.height}, .side = 0.5 * shorter};
    drawFace(canvas, 0, pose);
    return canvas;
  }

  /// Where the one face is, detected and then followed; nothing when there is not just one.
  std::optional<Rect> boxIn(const PixelBuffer& frame) {
    const auto found = vision->detectFaceRectangles(frame);
    EXPECT_FALSE(found.error) << *found.error;
    if (found.results.size() != 1) return std::nullopt;
    const auto followed =
        vision->trackFaces(frame, {{.identifier = 1, .inputObservation = found.results[0]}});
    EXPECT_FALSE(followed.error);
    if (followed.results.size() != 1 || !followed.results[0]) return std::nullopt;
    EXPECT_GT(followed.results[0]->confidence, 0.8);
    EXPECT_GT(opencv::overlap(found.results[0].boundingBox, followed.results[0]->boundingBox), 0.7)
        << "the same measure";
    return followed.results[0]->boundingBox;
  }

  FakePlatform platform;
  std::shared_ptr<FaceVision> vision = opencv::makeFaceVision();
};

TEST_F(Frames, ofEveryFormatAndTurnShowTheFaceAtTheSamePlace) {
  Pose pose;
  const Canvas canvas = faceIn({201, 355}, pose);
  const auto truth = boxIn(*frameOf(canvas));
  ASSERT_TRUE(truth);
  EXPECT_GT(opencv::overlap(*truth, boxOf(pose, canvas.size)), 0.75);
  for (const PixelFormat format : kFormats) {
    for (const Turn turn : kTurns) {
      const auto box = boxIn(*frameOf(canvas, format, turn, 13));
      ASSERT_TRUE(box) << int(format) << " turned " << int(turn);
      EXPECT_GT(opencv::overlap(*box, *truth), 0.9) << int(format) << " turned " << int(turn);
    }
  }
  PixelBuffer flipped = *frameOf(canvas, PixelFormat::rgb, Turn::half);
  // From bottom to top, which together with a mirror is half a turn.
  flipped.turn = Turn::none;
  flipped.planes[0].data += (flipped.size.height - 1) * flipped.planes[0].stride;
  flipped.planes[0].stride = -flipped.planes[0].stride;
  const auto mirrored = boxIn(flipped);
  ASSERT_TRUE(mirrored);
  EXPECT_NEAR(mirrored->x, 1 - truth->x - truth->width, 0.05);
  EXPECT_NEAR(mirrored->y, truth->y, 0.05);
}

TEST_F(Frames, ofEverySizeShowTheFace) {
  for (const PixelSize size : {PixelSize{64, 48}, PixelSize{48, 64}, PixelSize{641, 359},
                               PixelSize{1280, 720}, PixelSize{1080, 1920}}) {
    Pose pose;
    const auto box = boxIn(*frameOf(faceIn(size, pose), PixelFormat::nv12));
    ASSERT_TRUE(box) << size.width;
    EXPECT_GT(opencv::overlap(*box, boxOf(pose, size)), 0.6) << size.width;
  }
}

TEST_F(Frames, ofEightThousandPixelsCostNoMoreMemory) {
  // Enlarged row by row from a small one, so that the test is not busy with drawing.
  Pose pose;
  const Canvas small = faceIn({240, 135}, pose);
  const auto from = frameOf(small, PixelFormat::bgra);
  const auto made = PixelBuffer::allocate(PixelFormat::bgra, {7680, 4320});
  for (int y = 0; y < 4320; ++y) {
    const auto* row = from->planes[0].data + y / 32 * from->planes[0].stride;
    auto* to = made.planes[0] + y * made.buffer->planes[0].stride;
    for (int x = 0; x < 7680; ++x) std::copy_n(row + x / 32 * 4, 4, to + 4 * x);
  }
  const auto box = boxIn(*made.buffer);
  ASSERT_TRUE(box);
  EXPECT_GT(opencv::overlap(*box, boxOf(pose, small.size)), 0.6);
}

TEST_F(Frames, tooSmallOrTooNarrowForAFaceShowNone) {
  for (const PixelSize size :
       {PixelSize{1, 1}, PixelSize{2, 1}, PixelSize{3, 500}, PixelSize{4000, 1}}) {
    for (const PixelFormat format : kFormats) {
      const auto made = PixelBuffer::allocate(format, size, 1);
      EXPECT_THAT(vision->detectFaceRectangles(*made.buffer).results, IsEmpty());
      const auto followed = vision->trackFaces(
          *made.buffer, {{.identifier = 1, .inputObservation = {.boundingBox = {0, 0, 1, 1}}}});
      ASSERT_FALSE(followed.results.empty());
      EXPECT_LT(followed.results[0]->confidence, 0.5);
    }
  }
}

TEST_F(Frames, showLandmarksWhereTheyAre) {
  Pose pose;
  const Canvas canvas = faceIn(kClipSize, pose);
  const auto frame = frameOf(canvas);
  const auto found = vision->detectFaceRectangles(*frame);
  ASSERT_THAT(found.results, SizeIs(1));
  const auto followed =
      vision->trackFaces(*frame, {{.identifier = 1, .inputObservation = found.results[0]}});
  const Rect box = followed.results.at(0)->boundingBox;
  const Rect elsewhere{0.8, 0.9, 0.1, 0.05};
  const auto faces = vision->detectFaceLandmarks(*frame, {box, elsewhere});
  ASSERT_THAT(faces.results, SizeIs(2));
  EXPECT_THAT(faces.results[0].landmarks, SizeIs(9));
  const Rect around{box.x - 0.02, box.y - 0.02, box.width + 0.04, box.height + 0.04};
  for (const auto& region : faces.results[0].landmarks) {
    for (const Point& point : region.points) {
      EXPECT_TRUE(around.contains({point.x, point.y, 0, 0})) << point.x << " " << point.y;
    }
  }
  EXPECT_THAT(faces.results[1].landmarks, IsEmpty()) << "no face, no landmarks";
  // Another frame in the same memory would be another question: this one has to be looked at.
  PixelBuffer copy = *frame;
  copy.memory = nullptr;
  const auto again = vision->detectFaceLandmarks(copy, {box});
  ASSERT_THAT(again.results.at(0).landmarks, SizeIs(9));
  const Point one = faces.results[0].landmarks[0].points[0];
  const Point other = again.results[0].landmarks[0].points[0];
  EXPECT_NEAR(one.x, other.x, 0.02);
  EXPECT_NEAR(one.y, other.y, 0.02);
}

TEST_F(Frames, areSearchedOfBoxesThatAreNone) {
  Pose pose;
  const auto frame = frameOf(faceIn(kClipSize, pose));
  const double no = std::nan("");
  for (const Rect box :
       {Rect{no, 0, 1, 1}, Rect{0, 0, no, no}, Rect{0, 0, 0, 0}, Rect{1e300, 0, 1, 1},
        Rect{0, 0, 1e300, 1e300}, Rect{9, 9, 1, 1}, Rect{0.5, 0.5, -1, -1}}) {
    const auto followed =
        vision->trackFaces(*frame, {{.identifier = 1, .inputObservation = {.boundingBox = box}}});
    ASSERT_FALSE(followed.results.empty());
    EXPECT_LT(followed.results[0]->confidence, 0.8);
    EXPECT_THAT(vision->detectFaceLandmarks(*frame, {box}).results.at(0).landmarks, IsEmpty());
  }
}

}  // namespace
}  // namespace veltrane::testing
