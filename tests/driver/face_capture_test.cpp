#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

class FaceCapture : public DriverTest {};

TEST_F(FaceCapture, WithoutACameraTheScreenSaysSoAndCancelEndsTheFlow) {
  server().addFlow(
      "face-capture",
      flows::file(flows::document(
          {{"face", "FaceImageCaptureTemplate", {{"nextEvent", flows::postEvent("send")}}}})));
  DriverProcess driver(arguments("face-capture", {"--screen", "400x900@2"}));
  driver.untilScreen("ScreenTemplate1VC");
  // The second before it opens is not idle: no snapshot of the form comes in between.
  driver.send({{"do", "snapshot"}});
  const auto screen = driver.until("screen");
  EXPECT_EQ(screen.at("controller"), "FaceImageCaptureVC");
  EXPECT_EQ(screen.at("how"), "modal");
  EXPECT_EQ(screen.at("oval"),
            json({{"x", 50.0}, {"y", 225.0}, {"width", 300.0}, {"height", 450.0}}));
  EXPECT_EQ(screen.at("ovalColor"), "grey");
  const auto alert = driver.until("alert");
  EXPECT_EQ(alert.at("title"), "Failed with error 1");
  EXPECT_EQ(alert.at("message"), "The camera is not available.");
  driver.until("done");
  EXPECT_EQ(driver.act({{"do", "cancel"}}).at("event"), "refused");
  driver.act({{"do", "dismissAlert"}});
  driver.send({{"do", "cancel"}});
  EXPECT_EQ(driver.until("result").at("error").at("description"), "User Cancelled");
  EXPECT_EQ(driver.wait(), 3);
}

}  // namespace
}  // namespace veltrane::testing
