// OpenCV and the networks load on threads of their own, and whoever asked may be gone by then.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>

#include "platform/opencv/face_vision.h"
#include "platform/opencv/file_camera.h"
#include "tests/support/fakes.h"

namespace veltrane::testing {
namespace {

TEST(Loading, ofVisionIsWaitedForByTheFirstQuestionOrTheEnd) {
  const FakePlatform platform;
  const auto frame = PixelBuffer::allocate(PixelFormat::nv12, {64, 48}).buffer;
  const auto asked = opencv::makeFaceVision();
  opencv::makeFaceVision().reset();
  std::thread([&] {
    const auto outcome = asked->detectFaceRectangles(*frame);
    EXPECT_EQ(outcome.error, std::nullopt);
    EXPECT_TRUE(outcome.results.empty());
  }).join();
  EXPECT_EQ(asked->trackFaces(*frame, {}).error, std::nullopt);
}

/// Programs of their own, in which nothing has been loaded yet.
TEST(LoadingDeathTest, ofFilesMayStillGoOnAtTheProgramsEnd) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [](bool stops, const std::shared_ptr<int>& held = {}) {
    const auto camera = opencv::makeFileCamera({.path = "/nowhere"});
    camera->startRunning({.opened = [](const CameraFormat&) { std::abort(); },
                          .frame = [](const PixelBufferPtr&) -> bool { std::abort(); },
                          // Before the camera is stopped it may have found out.
                          .failed = [held](const CameraError&) {}});
    if (stops) camera->stopRunning();
  };
  for (const bool stops : {true, false}) {
    EXPECT_EXIT((run(stops), std::exit(0)), ::testing::ExitedWithCode(0), "");
  }
  const auto waits = [&run] {
    auto held = std::make_shared<int>();
    run(true, held);
    const std::weak_ptr<int> left = std::exchange(held, nullptr);
    opencv::waitForFileCameras();
    std::exit(left.expired() ? 0 : 1);
  };
  EXPECT_EXIT(waits(), ::testing::ExitedWithCode(0), "") << "what a thread holds goes with it";
}

}  // namespace
}  // namespace veltrane::testing
