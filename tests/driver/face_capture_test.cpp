#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "apps/face_clip/shots.h"
#include "platform/pictures/codec.h"
#include "tests/driver/driver_test.h"
#include "tests/driver/face_clip.h"
#include "veltrane/base/base64.h"

namespace veltrane::testing {
namespace {

using ::testing::HasSubstr;

class FaceCapture : public DriverTest {
 protected:
  FaceCapture() {
    std::ifstream file(sandbox::shippedFlowsFolder() / "face.json");
    server().addFlow("face", {std::istreambuf_iterator<char>(file), {}});
    server().clearRequests();
  }

  std::filesystem::path fileOf(const std::string& name, const Picture& picture) const {
    clip::writePicture(picture, folder_.path() / name);
    return folder_.path() / name;
  }
  std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

  static std::vector<std::string> withCamera(const std::filesystem::path& camera) {
    return arguments("face", {"--camera", camera.string()});
  }
  /// Drives without a command to the end: the exit status.
  static int statusWith(const std::filesystem::path& camera) {
    DriverProcess driver(withCamera(camera));
    driver.closeInput();
    const int status = driver.wait();
    EXPECT_TRUE(driver.events("alert").empty()) << driver.output();
    return status;
  }
  /// The picture that the server has taken.
  static PixelSize sizeOfSent() {
    const auto text = lastBody().at("parameters").at("imageData").get<std::string>();
    const auto picture = pictures::Codec().decode(base64Decoded(text).value());
    return picture ? picture->size : PixelSize();
  }

 private:
  const ScratchFolder folder_;
};

TEST_F(FaceCapture, AFaceInTheOvalIsTakenAtTheRightSize) {
  struct Case {
    PixelSize camera;
    PixelSize sent;
  };
  const Case cases[] = {
      {{1920, 1080}, {1000, 562}}, {{1080, 1920}, {562, 1000}}, {{720, 960}, {720, 960}}};
  for (const auto& [camera, sent] : cases) {
    EXPECT_EQ(statusWith(fileOf("face.png", clip::faceShot(portrait(), camera))), 0);
    EXPECT_EQ(sizeOfSent(), sent) << camera.width << "x" << camera.height;
  }
}

TEST_F(FaceCapture, NoPictureIsTakenWithoutAFaceInTheOval) {
  const std::pair<const char*, Picture> scenes[] = {
      {"wall.png", clip::wallShot(portrait(), {720, 1280})},
      {"aside.png", clip::faceShot(portrait(), {720, 1280}, 95)},
      {"tiny.png", clip::wallShot(portrait(), {64, 48})}};
  for (const auto& [name, scene] : scenes) {
    DriverProcess driver(withCamera(fileOf(name, scene)));
    driver.closeInput();
    EXPECT_EQ(driver.wait(), 4) << name;
    for (const auto& screen : driver.events("screen")) EXPECT_NE(screen.at("how"), "reload");
    EXPECT_EQ(server().requests().size(), 1U) << "the flow's start alone";
    server().clearRequests();
  }
}

TEST_F(FaceCapture, AFolderAndAVideoAreTheFramesOfACamera) {
  writeClip(path("clip"));
  // Neither a picture nor hidden from those who look for some.
  std::ofstream(path("clip") / "2-damaged.png") << "\x89PNG\r\n\x1A\n and no more";
  writeVideo(path("clip.y4m"));
  for (const char* camera : {"clip", "clip.y4m"}) {
    DriverProcess driver(withCamera(path(camera)));
    driver.closeInput();
    EXPECT_EQ(driver.untilScreen("FaceImageCaptureVC").at("ovalColor"), "grey") << camera;
    const auto green = driver.untilScreen("FaceImageCaptureVC");
    EXPECT_EQ(green.at("ovalColor"), "green");
    EXPECT_EQ(green.at("how"), "reload");
    EXPECT_EQ(driver.wait(), 0) << camera;
    EXPECT_EQ(sizeOfSent(), (PixelSize{360, 640}));
    EXPECT_THAT(driver.output(), ::testing::Not(HasSubstr("iVBORw0KGgo"))) << "nothing of a face";
  }
}

TEST_F(FaceCapture, CancelEndsTheFlowBeforeAndWhileTheCameraLooks) {
  const auto wall = fileOf("wall.png", clip::wallShot(portrait(), {360, 640}));
  for (const bool isEarly : {true, false}) {
    DriverProcess driver(withCamera(wall));
    driver.untilScreen(isEarly ? "ScreenTemplate1VC" : "FaceImageCaptureVC");
    driver.send({{"do", "cancel"}});
    const auto error = driver.until("result").at("error");
    EXPECT_EQ(error.at("description"), "User Cancelled");
    EXPECT_EQ(driver.wait(), 3);
    EXPECT_EQ(driver.events("result").size(), 1U);
    EXPECT_EQ(server().requests().size(), 1U);
    server().clearRequests();
  }
}

TEST_F(FaceCapture, ASignalEndsTheRunInGoodOrder) {
  // So many pixels that OpenCV shares them out among threads, before there is a flow.
  const auto wall = fileOf("wall.png", clip::wallShot(portrait(), {1920, 1080}));
  DriverProcess driver(withCamera(wall));
  driver.untilScreen("FaceImageCaptureVC");
  driver.signal(SIGINT);
  EXPECT_EQ(driver.wait(), 4);
  EXPECT_EQ(driver.events().back(), json({{"event", "bye"}, {"exit", 4}}));
}

TEST_F(FaceCapture, WhatIsNoCameraIsWrongUse) {
  std::filesystem::create_directory(path("empty"));
  std::filesystem::create_directory(path("damaged"));
  std::ofstream(path("damaged") / "picture.png") << "no picture";
  std::ofstream(path("text.txt")) << "no picture";
  std::ofstream(path("nothing.png"));
  using std::string_literals::operator""s;
  std::ofstream(path("cut.mp4")) << "\0\0\0\x14"
                                    "ftypisom\0\0\0\0isom"
                                    "\0\0\1\0mdat"s
                                 << std::string(60, '\0');
  for (const char* camera :
       {"empty", "damaged", "text.txt", "nothing.png", "cut.mp4", "missing.png"}) {
    DriverProcess driver(withCamera(path(camera)));
    EXPECT_EQ(driver.waitForEnd(), 2) << camera;
    const auto errors = driver.errors();
    EXPECT_THAT(errors, HasSubstr("--camera: ")) << camera;
    EXPECT_THAT(errors, HasSubstr(camera));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  }
}

TEST_F(FaceCapture, APictureOfTooManyPixelsTakesNoMemory) {
  const auto bitmap = path("bomb.pbm");
  std::ofstream(bitmap) << "P4\n30000 30000\n";
  std::filesystem::resize_file(bitmap, 30000 * 30000 / 8 + 20);
  DriverProcess driver(withCamera(bitmap));
  EXPECT_EQ(driver.waitForEnd(), 2);
  EXPECT_THAT(driver.errors(), HasSubstr("bomb.pbm"));
  rusage used{};
  ASSERT_EQ(getrusage(RUSAGE_CHILDREN, &used), 0);
  EXPECT_LT(used.ru_maxrss, 1'000'000) << "kilobytes";
}

TEST_F(FaceCapture, WithoutACameraTheScreenSaysSoAndCancelEndsTheFlow) {
  DriverProcess driver(arguments("face", {"--screen", "400x900@2"}));
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
