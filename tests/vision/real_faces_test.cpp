// Photographs of faces through what the screen does with each frame.
#include <gmock/gmock.h>

#include "platform/opencv/face_shape.h"
#include "platform/opencv/face_vision.h"
#include "tests/support/fakes.h"
#include "tests/vision/face_clip.h"
#include "veltrane/face/face_tracking.h"

namespace veltrane::testing {
namespace {

/// Boxes of what is about the same face.
constexpr double kSame = 0.5;

class RealFaces : public ::testing::Test {
 protected:
  /// Whether the screen would have taken the picture.
  bool showsFaceInOval(const Canvas& canvas, FaceTracking& tracking) {
    const auto seen = tracking.captureOutput(frameOf(canvas));
    if (!seen || !seen->areTracked) return false;
    return std::any_of(seen->faces.begin(), seen->faces.end(),
                       [](const auto& face) { return liesInOval(face.boundingBox); });
  }

  /// Whether the face is found in a frame, and followed to the next one, where it is.
  bool isHit(const Canvas& canvas, const Rect& truth) {
    const auto frame = frameOf(canvas);
    FaceTracking tracking(vision);
    const auto isThere = [&truth](const auto& seen) {
      return seen && std::any_of(seen->faces.begin(), seen->faces.end(), [&](const auto& face) {
               return opencv::overlap(face.boundingBox, truth) > kSame;
             });
    };
    if (!isThere(tracking.captureOutput(frame))) return false;
    const auto followed = tracking.captureOutput(frame);
    return isThere(followed) && followed->areTracked;
  }

  double hitRate(int frames, const Tone& tone) {
    Random random(1);
    Canvas behind;
    int hits = 0;
    for (int i = 0; i < frames; ++i) {
      if (i % 5 == 0) behind = scene(random);
      Canvas canvas = behind;
      const Pose pose = poseInOval(random);
      drawFace(canvas, random.below(kFaces), pose, tone);
      expose(canvas, anyLight(random));
      hits += isHit(canvas, boxOf(pose)) ? 1 : 0;
    }
    return double(hits) / frames;
  }

  FakePlatform platform;
  std::shared_ptr<FaceVision> vision = opencv::makeFaceVision();
};

TEST_F(RealFaces, areFoundAndFollowedInTheOvalWhateverTheTone) {
  constexpr int kFrames = 100;
  const double asTheyAre = hitRate(kFrames, kAsItIs);
  RecordProperty("hits", std::to_string(asTheyAre));
  EXPECT_GE(asTheyAre, 0.99);
  for (const Tone& tone : kTones) {
    EXPECT_NEAR(hitRate(kFrames, tone), asTheyAre, 0.01) << "red " << tone[0];
  }
}

TEST_F(RealFaces, areNotTakenWhereThereAreNone) {
  FaceTracking tracking(vision);
  for (unsigned scene = 0; scene < 250; ++scene) {
    for (const Canvas& canvas : heldScene(scene)) {
      ASSERT_FALSE(showsFaceInOval(canvas, tracking)) << "scene " << scene;
    }
  }
}

TEST_F(RealFaces, areFollowedByOneRequestEach) {
  Random random(7);
  Canvas canvas = scene(random);
  const Pose pose{.middle = {135, 240}, .side = 120};
  drawFace(canvas, 0, pose);
  const auto frame = frameOf(canvas);
  const auto found = vision->detectFaceRectangles(*frame);
  ASSERT_EQ(found.results.size(), 1u);
  FaceObservation beside = found.results[0];
  beside.boundingBox.x += beside.boundingBox.width / 4;
  const auto surenessOf = [&](const std::vector<FaceTrackingRequest>& requests) {
    std::vector<bool> sure;
    for (const auto& face : vision->trackFaces(*frame, requests).results) {
      sure.push_back(face && face->confidence > FaceTracking::kConfidence);
    }
    return sure;
  };
  using Sure = std::vector<bool>;
  EXPECT_EQ(surenessOf({{.identifier = 1, .inputObservation = beside}}), Sure{true});
  EXPECT_EQ(surenessOf({{.identifier = 1, .inputObservation = beside},
                        {.identifier = 2, .inputObservation = found.results[0]}}),
            (Sure{false, true}));
  EXPECT_EQ(
      surenessOf({{.identifier = 1, .inputObservation = beside},
                  {.identifier = 2, .inputObservation = found.results[0], .isLastFrame = true}}),
      (Sure{true, false}))
      << "one that is not asked again takes no face from another";
}

TEST_F(RealFaces, areToldOfThoughNobodyFollowsThem) {
  Random random(9);
  const Canvas behind = scene(random);
  Canvas canvas = behind;
  drawFace(canvas, 0, {.middle = {135, 330}, .side = 100});
  FaceTracking tracking(vision);
  tracking.captureOutput(frameOf(canvas));
  const auto alone = tracking.captureOutput(frameOf(canvas));
  ASSERT_TRUE(alone);
  EXPECT_EQ(alone->others.size(), 0u);
  Canvas two = canvas;
  const Pose second{.middle = {135, 120}, .side = 90};
  drawFace(two, 1, second);
  std::vector<std::size_t> others;
  for (int frame = 0; frame < 8; ++frame) {
    const auto seen = tracking.captureOutput(frameOf(two));
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->faces.size(), 1u);
    others.push_back(seen->others.size());
    for (const Rect& other : seen->others) EXPECT_GT(opencv::overlap(other, boxOf(second)), kSame);
  }
  EXPECT_TRUE(std::is_sorted(others.begin(), others.end()));
  EXPECT_EQ(others[3], 1u) << "noticed within four frames, and not forgotten in between";
  for (int frame = 0; frame < 4; ++frame) tracking.captureOutput(frameOf(canvas));
  EXPECT_EQ(tracking.captureOutput(frameOf(canvas))->others.size(), 0u);
}

TEST_F(RealFaces, areLetGoWithinThreeFramesAfterTheyHaveGone) {
  for (unsigned clip = 0; clip < 20; ++clip) {
    Random random(clip);
    FaceTracking tracking(vision);
    const Canvas behind = scene(random);
    Pose pose = poseInOval(random);
    const std::size_t face = random.below(kFaces);
    const bool isSudden = random.coin();
    const double step = random.between(10, 40);
    // It stays for a while, then it is gone at once or moves out of the picture.
    for (int frame = 0; frame < 6 || pose.middle.x < kClipSize.width + pose.side; ++frame) {
      Canvas canvas = behind;
      drawFace(canvas, face, pose);
      tracking.captureOutput(frameOf(canvas));
      if (frame < 6) continue;
      if (isSudden) break;
      pose.middle.x += step;
    }
    const auto nobody = frameOf(behind);
    for (int frame = 0; frame < 3; ++frame) tracking.captureOutput(nobody);
    EXPECT_TRUE(tracking.trackingRequests().empty()) << "clip " << clip;
  }
}

TEST_F(RealFaces, areTakenWithinFiveFramesAfterTheyHaveComeToLieInTheOval) {
  for (unsigned clip = 0; clip < 20; ++clip) {
    Random random(100 + clip);
    FaceTracking tracking(vision);
    const Canvas behind = scene(random);
    const Pose goal = poseInOval(random);
    const std::size_t face = random.below(kFaces);
    const Point start{random.coin() ? -0.6 * goal.side : kClipSize.width + 0.6 * goal.side,
                      random.between(0, kClipSize.height)};
    const int steps = 8 + static_cast<int>(random.below(12));
    int inside = 0;
    bool isTaken = false;
    for (int frame = 0; !isTaken && inside <= 5; ++frame) {
      const double way = std::min(1.0, double(frame) / steps);
      Pose pose = goal;
      pose.middle = {std::lerp(start.x, goal.middle.x, way),
                     std::lerp(start.y, goal.middle.y, way)};
      pose.side = goal.side * std::lerp(0.7, 1.0, way);
      Canvas canvas = behind;
      drawFace(canvas, face, pose);
      if (liesInOval(boxOf(pose))) ++inside;
      isTaken = showsFaceInOval(canvas, tracking);
    }
    EXPECT_TRUE(isTaken) << "clip " << clip;
  }
}

}  // namespace
}  // namespace veltrane::testing
