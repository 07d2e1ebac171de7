#include "tests/face/capture_host.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using CaptureScreen = CaptureHost;

constexpr const char* kCancelled = "veltraneError: User Cancelled";

TEST_F(CaptureScreen, aFaceInsideTheOvalIsTakenOnceAndHandedOverAfterTheScreenHasLeft) {
  presentWithCamera();
  EXPECT_EQ(screen->ovalRect, (Rect{45, 197, 300, 450}));
  EXPECT_EQ(screen->imgView.path, (Rect{47, 199, 296, 446}));
  EXPECT_EQ(screen->imgView.strokeColor, face::kLightGrey);
  const auto frame = makeFrame();
  follow({kInside}, frame);
  EXPECT_TRUE(platform.console->has("face detected"));
  EXPECT_TRUE(isGreen());
  EXPECT_TRUE(screen->faceDetected);
  EXPECT_EQ(camera->stops, 1);
  EXPECT_EQ(screen->imagePixelBuffer, frame);
  EXPECT_FALSE(camera->events.frame(makeFrame())) << "no frame after the stop";
  EXPECT_TRUE(isShown());
  platform.pictureQueue->run();
  EXPECT_THAT(listener->heard, IsEmpty());
  run();
  EXPECT_FALSE(isShown());
  EXPECT_FALSE(screen->isCapturing());
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
  screen->cancelButtonPressed();
  run();
  EXPECT_EQ(listener->heard.size(), 1u);
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
}

TEST_F(CaptureScreen, aFacePartlyOutsideKeepsTheOvalGrey) {
  presentWithCamera();
  follow({kOutside});
  EXPECT_TRUE(platform.console->has("face not detected"));
  EXPECT_FALSE(isGreen());
  EXPECT_EQ(screen->detectedFaceRectangleShapeLayer.path.size(), 1u);
  EXPECT_EQ(screen->detectedFaceLandmarksShapeLayer.path.size(), 1u);
  EXPECT_EQ(camera->stops, 0);
  vision->see({});
  deliver();
  deliver();
  EXPECT_TRUE(until([this] { return screen->detectedFaceRectangleShapeLayer.path.empty(); }));
  finish();
  EXPECT_THAT(listener->heard, IsEmpty());
}

TEST_F(CaptureScreen, oneOfSeveralFacesIsEnough) {
  presentWithCamera();
  follow({kOutside, kInside});
  finish();
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
}

TEST_F(CaptureScreen, withoutALayoutNoFaceLiesInTheOval) {
  presentWithCamera();
  screen->viewDidLayoutSubviews({0, 0});
  follow({kInside});
  EXPECT_EQ(screen->ovalRect, std::nullopt);
  EXPECT_FALSE(isGreen());
  screen->viewDidLayoutSubviews({390, 844});
  follow({kInside});
  EXPECT_TRUE(isGreen());
}

TEST_F(CaptureScreen, frontCamerasAreMirroredAndAFrameOfAnotherSizeCounts) {
  present();
  camera->events.opened({.resolution = {160, 90}, .isFront = false});
  run();
  EXPECT_FALSE(screen->isMirrored);
  EXPECT_EQ(screen->captureDeviceResolution, (PixelSize{160, 90}));
  auto turned = std::make_shared<PixelBuffer>(*makeFrame({160, 90}));
  turned->turn = Turn::quarter;
  deliver(turned);
  EXPECT_TRUE(until([this] { return screen->captureDeviceResolution == PixelSize{90, 160}; }));
  EXPECT_EQ(screen->detectionOverlayLayer.bounds, (PixelSize{90, 160}));
  EXPECT_GT(screen->detectionOverlayLayer.affineTransform.a, 0) << "a rear camera is no mirror";
  follow({kInside}, turned);
  finish();
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
}

TEST_F(CaptureScreen, tinyAndHugeCamerasAreTaken) {
  for (const PixelSize size : {PixelSize{64, 48}, PixelSize{7680, 4320}}) {
    listener->heard.clear();
    reopen();
    presentWithCamera();
    follow({{0.48, 0.4, 0.04, 0.2}}, makeFrame(size));
    finish();
    EXPECT_THAT(listener->heard, ElementsAre(size.width == 64 ? "64x48" : "1000x562"));
  }
}

TEST_F(CaptureScreen, aFrameWithoutPixelsIsDropped) {
  presentWithCamera();
  deliver(nullptr);
  deliver(std::make_shared<PixelBuffer>());
  const char* const kLine = "Failed to obtain a CVPixelBuffer for the current output frame.";
  EXPECT_TRUE(
      until([&] { return platform.console->lines() == std::vector<std::string>(2, kLine); }));
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
  follow({kInside});
  EXPECT_TRUE(isGreen());
}

TEST_F(CaptureScreen, cancelGivesNoPictureAndTheError) {
  presentWithCamera();
  follow({kOutside});
  screen->cancelButtonPressed();
  screen->cancelButtonPressed();
  EXPECT_FALSE(isShown());
  EXPECT_THAT(listener->heard, IsEmpty()) << "before the dismissal is complete";
  EXPECT_FALSE(camera->events.frame(makeFrame()));
  run();
  EXPECT_THAT(listener->heard, ElementsAre(kCancelled));
}

TEST_F(CaptureScreen, withoutADelegateTheScreenLeavesUnheard) {
  for (const bool isTaken : {true, false}) {
    listener.reset();
    reopen();
    presentWithCamera();
    if (isTaken) {
      follow({kInside});
      finish();
    } else {
      screen->cancelButtonPressed();
      run();
    }
    EXPECT_FALSE(isShown());
  }
}

TEST_F(CaptureScreen, cancelCountsUntilThePictureIsThere) {
  presentWithCamera();
  follow({kInside});
  screen->cancelButtonPressed();
  finish();
  EXPECT_THAT(listener->heard, ElementsAre(kCancelled));
}

TEST_F(CaptureScreen, cancelDuringTheDismissalAndErrorsOfTheCameraComeTooLate) {
  presentWithCamera();
  follow({kInside});
  camera->events.failed({CameraError::lost, "The camera was disconnected."});
  run();
  EXPECT_FALSE(alert());
  platform.pictureQueue->run();
  platform.mainQueue->async([this] { screen->cancelButtonPressed(); });
  run();
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
}

TEST_F(CaptureScreen, aFlowThatEndsUnderTheScreenLeavesItUnheard) {
  presentWithCamera();
  follow({kInside});
  window->presentedViewController()->dismiss(false);
  finish();
  EXPECT_THAT(listener->heard, IsEmpty());
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
}

TEST_F(CaptureScreen, aPictureThatCannotBeMadeIsAnError) {
  codec->failsToEncode = true;
  presentWithCamera();
  follow({kInside});
  finish();
  EXPECT_THAT(listener->heard,
              ElementsAre("imageFromData: The picture of the face could not be made."));
}

TEST_F(CaptureScreen, withoutACameraAnAlertSaysSoAndCancelLeadsOut) {
  camera = nullptr;
  present();
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title, "Failed with error 1");
  EXPECT_EQ(alert()->message(), "The camera is not available.");
  alert()->select(0);
  EXPECT_TRUE(isShown());
  screen->cancelButtonPressed();
  run();
  EXPECT_THAT(listener->heard, ElementsAre(kCancelled));
}

TEST_F(CaptureScreen, aCameraLostOnTheWayLeavesNoPictureBehind) {
  presentWithCamera();
  follow({kOutside});
  camera->events.failed({CameraError::lost, "The camera was disconnected."});
  camera->events.failed({CameraError::lost, "The camera was disconnected."});
  run();
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title, "Failed with error 5");
  EXPECT_EQ(alert()->message(), "The camera was disconnected.");
  EXPECT_EQ(alert()->presentedViewController(), nullptr) << "told once";
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
  EXPECT_THAT(screen->detectedFaceRectangleShapeLayer.path, IsEmpty());
  EXPECT_FALSE(camera->events.frame(makeFrame()));
  screen->cancelButtonPressed();
  run();
  EXPECT_FALSE(isShown()) << "the alert goes with the screen";
  EXPECT_THAT(listener->heard, ElementsAre(kCancelled));
}

TEST_F(CaptureScreen, withoutEyesTheScreenSaysSo) {
  vision = nullptr;
  present();
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title, "Failed with error 6");
  EXPECT_EQ(camera->stops, 1);
}

TEST_F(CaptureScreen, eyesThatWillNeverSeeAreGivenUpAtTheirFirstAnswer) {
  presentWithCamera();
  vision->see({.detectionError = "no model for now"});
  deliver();
  ASSERT_TRUE(until([&] { return platform.console->mentions("no model for now"); }));
  EXPECT_FALSE(alert()) << "the next frame may be seen";
  vision->see({.detectionError = "no model", .isFinal = true});
  deliver();
  ASSERT_TRUE(until([&] { return alert() != nullptr; }));
  EXPECT_EQ(alert()->title, "Failed with error 6");
  EXPECT_EQ(alert()->message(), "Faces cannot be found on this device.");
  EXPECT_EQ(camera->stops, 1);
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
  EXPECT_FALSE(camera->events.frame(makeFrame()));
  screen->cancelButtonPressed();
  run();
  EXPECT_THAT(listener->heard, ElementsAre(kCancelled));
}

}  // namespace
}  // namespace veltrane::testing
