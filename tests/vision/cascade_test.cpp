// Faces without the networks that are made for them.
#include "platform/opencv/cascade_vision.h"

#include <gmock/gmock.h>

#include "tests/support/fakes.h"
#include "tests/vision/face_clip.h"
#include "veltrane/face/face_tracking.h"

namespace veltrane::testing {
namespace {

using ::testing::SizeIs;

TEST(Cascade, findsAndFollowsAFaceAndLetsItGo) {
  const FakePlatform platform;
  std::string error;
  auto networks = opencv::FaceNetworks::open(error);
  ASSERT_TRUE(networks) << error;
  FaceTracking tracking(std::make_shared<opencv::CascadeVision>(std::move(networks)));
  Random random(3);
  const Canvas behind = scene(random);
  Pose pose{.middle = {130, 250}, .side = 110};
  for (int frame = 0; frame < 6; ++frame) {
    pose.middle.x += 4;
    Canvas canvas = behind;
    drawFace(canvas, 0, pose);
    const auto seen = tracking.captureOutput(frameOf(canvas, PixelFormat::nv12, Turn::quarter));
    ASSERT_TRUE(seen) << frame;
    ASSERT_THAT(seen->faces, SizeIs(1)) << frame;
    EXPECT_EQ(seen->areTracked, frame > 0);
    EXPECT_GT(opencv::overlap(seen->faces[0].boundingBox, boxOf(pose)), 0.6) << frame;
  }
  for (int frame = 0; frame < 3; ++frame) tracking.captureOutput(frameOf(behind));
  EXPECT_TRUE(tracking.trackingRequests().empty());
}

}  // namespace
}  // namespace veltrane::testing
