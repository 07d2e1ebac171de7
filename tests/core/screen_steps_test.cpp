// Steps that a screen leaves to somebody else: another device, the camera.
#include <algorithm>

#include "tests/core/host.h"
#include "veltrane/toolkit/storyboard.h"

namespace veltrane::testing {
namespace {

class ScreenSteps : public Host {};

TEST_F(ScreenSteps, anApprovalOnAnotherDeviceContinuesTheFlow) {
  const auto polling = joined({R"("enablePolling":{"value":true},"pollInterval":{"value":500})",
                               R"("pollRetries":{"value":9},"challenge":{"value":"ch"})"});
  open(document(polling));
  EXPECT_TRUE(screen()->isPolling());
  EXPECT_FALSE(screen()->loading.isHidden);
  const auto tick = [&] { platform.mainQueue->advance(std::chrono::milliseconds(500)); };
  tick();
  EXPECT_TRUE(
      request().url.ends_with("/auth/co/user/credentials/challenge/ch/status?interactionId=in"));
  serve("nonsense");
  EXPECT_EQ(alert()->title, "Veltrane Flow");
  const auto message = alert();
  tick();
  serve("nonsense");
  EXPECT_EQ(alert(), message);
  EXPECT_EQ(std::count(shown.begin(), shown.end(), "alert AlertController"), 1)
      << "the same message was put over itself";
  alert()->cancel();
  tick();
  serve(R"({"status":"approved"})");
  EXPECT_EQ(sent().serialized(),
            R"({"capabilityName":"cap","connectionId":"con","eventName":"continue","id":"id-1",)"
            R"("parameters":{"eventName":"continue","id":"id-1","pollResponse":"approved"}})");
  serve(R"({"success":1})");
  EXPECT_THAT(outcome->calls, ElementsAre(R"({"success":1})"));
  const auto asked = requests();
  tick();
  EXPECT_EQ(requests(), asked) << "a screen that has left asks no more";
}

TEST_F(ScreenSteps, aCapturedFaceIsSentAsBase64AndAFailureEndsTheRun) {
  struct Capture final : ViewController, FaceImageCaptureScreen {
    std::string_view className() const override { return "FaceImageCaptureVC"; }
  };
  Platform ports = platform.ports();
  ports.storyboard->add("FaceImageCaptureVC", [] { return std::make_shared<Capture>(); });
  const PlatformScope scope(ports);
  open(document(kPostEvent, {view("FaceImageCaptureTemplate")}));
  platform.mainQueue->advance(std::chrono::milliseconds(999));
  EXPECT_EQ(screen()->presentedViewController(), nullptr);
  platform.mainQueue->advance(std::chrono::milliseconds(1));
  const auto capture = std::dynamic_pointer_cast<Capture>(screen()->presentedViewController());
  EXPECT_EQ(capture->modalPresentationStyle, ModalPresentationStyle::fullScreen);
  const auto listener = capture->delegate.lock();
  capture->dismiss(true);
  listener->faceImageCaptureResult("\xff\x01", std::nullopt);
  EXPECT_EQ(sent()["parameters"]["imageData"].text(), "/wE=");
  EXPECT_TRUE(platform.console->mentions("got image data: "));
  EXPECT_FALSE(platform.console->mentions("/wE="));
  listener->faceImageCaptureResult(std::nullopt, VeltraneFlowError::userCancelled());
  EXPECT_TRUE(platform.console->has("got error on face image capture: User Cancelled"));
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
}

}  // namespace
}  // namespace veltrane::testing
