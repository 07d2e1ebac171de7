#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "tests/face/fakes.h"
#include "tests/support/fakes.h"
#include "veltrane/face/face_tracking.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Rect kFace{0.3, 0.3, 0.4, 0.4};
constexpr Rect kOther{0.0, 0.0, 0.2, 0.2};

class Tracking : public ::testing::Test {
 protected:
  std::optional<FacesInFrame> next(FakeVision::Sight sight) {
    vision->see(std::move(sight));
    return tracking.captureOutput(makeFrame());
  }

  FakePlatform platform;
  std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
  FaceTracking tracking{vision};
};

TEST_F(Tracking, facesAreLookedForUntilThereAreSomeAndThenFollowed) {
  const auto nobody = next({});
  ASSERT_TRUE(nobody);
  EXPECT_THAT(nobody->faces, IsEmpty());
  const auto found = next({.faces = {kFace, kOther}});
  ASSERT_TRUE(found);
  EXPECT_FALSE(found->areTracked) << "no picture of a face that has only just been found";
  EXPECT_EQ(found->faces.size(), 2u);
  const auto followed = next({.faces = {kFace, kOther}, .confidence = 0.81});
  ASSERT_TRUE(followed);
  EXPECT_TRUE(followed->areTracked);
  ASSERT_EQ(followed->faces.size(), 2u);
  EXPECT_EQ(followed->faces[1].boundingBox, kOther);
  EXPECT_EQ(followed->faces[1].landmarks.size(), 1u);
  EXPECT_THAT(vision->takeQuestions(), ElementsAre("detect", "detect", "track 2", "landmarks 2"));
}

TEST_F(Tracking, aFaceIsFollowedFromWhereItWasLast) {
  next({.faces = {kFace}});
  next({.faces = {kOther}});
  ASSERT_EQ(tracking.trackingRequests().size(), 1u);
  EXPECT_EQ(tracking.trackingRequests()[0].inputObservation.boundingBox, kOther);
}

TEST_F(Tracking, aConfidenceOfExactlyTheThresholdEndsIt) {
  next({.faces = {kFace}});
  const auto lost = next({.faces = {kFace}, .confidence = 0.8});
  ASSERT_TRUE(lost);
  EXPECT_THAT(lost->faces, IsEmpty()) << "nothing to draw, nothing to take a picture of";
  EXPECT_FALSE(next({.faces = {kFace}})) << "the last frame of a request counts for nothing";
  EXPECT_FALSE(next({.faces = {kFace}})->areTracked);
  EXPECT_THAT(vision->takeQuestions(), ElementsAre("detect", "track 1", "track 1 last", "detect"));
}

TEST_F(Tracking, eachFaceIsFollowedForItself) {
  next({.faces = {kFace, kOther}});
  const auto one = next({.faces = {kFace}});
  ASSERT_TRUE(one);
  EXPECT_EQ(one->faces.size(), 1u) << "the second request has no result";
  EXPECT_EQ(tracking.trackingRequests().size(), 1u);
  EXPECT_FALSE(next({})) << "no request has a result";
  EXPECT_THAT(tracking.trackingRequests(), IsEmpty());
}

TEST_F(Tracking, whatFailsIsToldAndTheNextFrameTriesAgain) {
  EXPECT_FALSE(next({.faces = {kFace}, .detectionError = "no model"}));
  next({.faces = {kFace}});
  EXPECT_FALSE(next({.trackingError = "out of memory"}));
  EXPECT_FALSE(next({.faces = {kFace}, .landmarksError = "too dark"}));
  EXPECT_TRUE(next({.faces = {kFace}})->areTracked);
  EXPECT_FALSE(tracking.captureOutput(nullptr));
  PixelBuffer narrow = *makeFrame();
  narrow.planes[1].stride = 3;
  EXPECT_FALSE(tracking.captureOutput(std::make_shared<PixelBuffer>(narrow)));
  const char* const kNoBuffer = "Failed to obtain a CVPixelBuffer for the current output frame.";
  EXPECT_THAT(platform.console->lines(),
              ElementsAre("Failed to perform FaceRectangleRequest: no model",
                          "Failed to perform SequenceRequest: out of memory",
                          "Failed to perform FaceLandmarkRequest: too dark", kNoBuffer, kNoBuffer));
}

TEST_F(Tracking, visionThatWillNeverAnswerIsAskedAndToldOnce) {
  EXPECT_FALSE(next({.detectionError = "no model", .isFinal = true}));
  EXPECT_TRUE(tracking.isOver());
  EXPECT_FALSE(next({.faces = {kFace}}));
  EXPECT_THAT(vision->takeQuestions(), ElementsAre("detect"));
  EXPECT_THAT(platform.console->lines(),
              ElementsAre("Failed to perform FaceRectangleRequest: no model"));
}

TEST_F(Tracking, boxesThatCannotBeDrawnAreNoFaces) {
  const double no = std::nan("");
  const double endless = std::numeric_limits<double>::infinity();
  const std::vector<Rect> odd = {
      {no, 0, 1, 1}, {0, 0, 0, 1}, {0, 0, 1, -1}, {0, endless, 1, 1}, {0, 0, endless, 1}};
  EXPECT_THAT(next({.faces = odd})->faces, IsEmpty());
  EXPECT_THAT(tracking.trackingRequests(), IsEmpty());
  next({.faces = {kFace}});
  EXPECT_FALSE(next({.faces = odd}));
  next({.faces = {kFace}});
  EXPECT_EQ(next({.faces = {kFace, kOther, kOther}})->faces.size(), 1u)
      << "more than was asked for";
  next({.faces = {kFace}, .confidence = no});
  EXPECT_FALSE(next({.faces = {kFace}})) << "what is no number is no confidence";
}

}  // namespace
}  // namespace veltrane::testing
