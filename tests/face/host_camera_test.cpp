#include "veltrane/face/host_camera.h"

#include <atomic>

#include "tests/face/capture_host.h"
#include "veltrane/face/frame_picture.h"
#include "veltrane/face/host_frame.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostCameraTest : public ::testing::Test {
 protected:
  void start() { camera.startRunning(listener()); }
  Camera::Events listener() {
    return {.opened =
                [this](const CameraFormat& format) {
                  heard.push_back("opened " + std::to_string(format.resolution.width) + "x" +
                                  std::to_string(format.resolution.height) +
                                  (format.isFront ? " front" : ""));
                },
            .frame =
                [this](const PixelBufferPtr& frame) {
                  heard.emplace_back(frame ? "frame" : "no pixels");
                  if (duringFrame) std::exchange(duringFrame, {})();
                  return isTaken;
                },
            .failed =
                [this](const CameraError& error) {
                  heard.push_back("failed " + std::to_string(error.code) + ": " +
                                  error.localizedDescription);
                }};
  }

  std::vector<std::string> heard;
  std::function<void()> duringFrame;
  bool isTaken = true;
  HostCamera camera{{.started = [this] { heard.emplace_back("started"); },
                     .stopped = [this] { heard.emplace_back("stopped"); },
                     .isFront = true}};
};

TEST_F(HostCameraTest, theFirstFrameWithPixelsOpensIt) {
  EXPECT_FALSE(camera.isWanted());
  EXPECT_FALSE(camera.push(makeFrame())) << "nobody has asked for frames yet";
  start();
  EXPECT_TRUE(camera.isWanted());
  EXPECT_FALSE(camera.push(nullptr));
  EXPECT_FALSE(camera.push(std::make_shared<PixelBuffer>()));
  const auto lying = PixelBuffer::allocate(PixelFormat::nv12, {160, 90}).buffer;
  lying->turn = Turn::quarter;
  EXPECT_TRUE(camera.push(lying));
  isTaken = false;
  EXPECT_FALSE(camera.push(makeFrame()));
  isTaken = true;
  EXPECT_TRUE(camera.push(std::make_shared<PixelBuffer>())) << "a frame that cannot be read";
  camera.stopRunning();
  EXPECT_FALSE(camera.isWanted());
  EXPECT_FALSE(camera.push(makeFrame()));
  camera.lost({CameraError::lost, "gone"});
  camera.stopRunning();
  EXPECT_THAT(heard, ElementsAre("started", "opened 90x160 front", "frame", "frame", "no pixels",
                                 "stopped"));
}

TEST_F(HostCameraTest, framesThatNeverOpenItAreToldOfOnce) {
  const auto console = std::make_shared<RecordingConsole>();
  Platform ports = Platform::current();
  ports.console = console;
  const PlatformScope scope(std::move(ports));
  camera.push(nullptr);
  EXPECT_THAT(console->take(), IsEmpty()) << "nobody wanted it";
  start();
  // Rows that overlap.
  const auto tight = PixelBuffer::allocate(PixelFormat::nv12, {160, 90}).buffer;
  tight->planes[1].stride = 80;
  camera.push(tight);
  camera.push(nullptr);
  EXPECT_EQ(console->take().size(), 1U);
  EXPECT_THAT(heard, ElementsAre("started"));
}

TEST_F(HostCameraTest, aLossIsToldOnceAndBehindTheFrameThatIsBeingHandedOver) {
  start();
  duringFrame = [this] {
    camera.lost({CameraError::lost, "unplugged"});
    EXPECT_FALSE(camera.isWanted());
    EXPECT_FALSE(camera.push(makeFrame())) << "one at a time";
    camera.lost({CameraError::busy, "again"});
  };
  camera.push(makeFrame());
  EXPECT_FALSE(camera.push(makeFrame()));
  camera.stopRunning();
  EXPECT_THAT(heard, ElementsAre("started", "opened 90x160 front", "frame", "failed 5: unplugged",
                                 "stopped"));
}

TEST_F(HostCameraTest, aLossBeforeTheStartIsToldAtTheStart) {
  camera.lost({CameraError::permissionRefused, "not allowed"});
  EXPECT_THAT(heard, IsEmpty());
  start();
  EXPECT_FALSE(camera.isWanted());
  EXPECT_FALSE(camera.push(makeFrame()));
  camera.stopRunning();
  EXPECT_THAT(heard, ElementsAre("failed 3: not allowed"));
}

TEST_F(HostCameraTest, aStopDuringAFrameIsTheLastThingThatIsHeard) {
  start();
  duringFrame = [this] {
    camera.lost({CameraError::lost, "gone"});
    camera.stopRunning();
  };
  camera.push(makeFrame());
  EXPECT_THAT(heard, ElementsAre("started", "opened 90x160 front", "frame", "stopped"));
}

/// A whole capture from frames that several threads push at once.
class HostCameraThreads : public CaptureHost {
 protected:
  HostCameraThreads() {
    Platform ports = Platform::current();
    ports.makeCamera = [this] { return pushed; };
    ports.pictureQueue = std::make_shared<ThreadWorkQueue>();
    scope_.emplace(std::move(ports));
  }
  ~HostCameraThreads() override {
    isOver_ = true;
    for (auto& thread : threads_) thread.join();
    screen.reset();
    scope_.reset();
  }
  void push(int threads) {
    for (int i = 0; i < threads; ++i) {
      threads_.emplace_back([this] {
        while (!isOver_) {
          if (pushed->push(makeFrame())) ++taken;
          std::this_thread::yield();
        }
      });
    }
  }

  std::shared_ptr<HostCamera> pushed = std::make_shared<HostCamera>(HostCamera::Options{});
  std::atomic<int> taken = 0;

 private:
  std::optional<PlatformScope> scope_;
  std::vector<std::thread> threads_;
  std::atomic<bool> isOver_ = false;
};

TEST_F(HostCameraThreads, onePictureComesOfFramesFromThreeThreads) {
  push(3);
  present();
  ASSERT_TRUE(until([&] { return taken > 20; }));
  vision->see({.faces = {kInside}});
  ASSERT_TRUE(until([&] { return !listener->heard.empty(); }));
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
  EXPECT_FALSE(pushed->isWanted());
}

TEST_F(HostCameraThreads, aLossInTheMiddleIsToldToThePerson) {
  push(2);
  present();
  ASSERT_TRUE(until([&] { return taken > 20; }));
  pushed->lost({CameraError::lost, "The camera was unplugged."});
  ASSERT_TRUE(until([&] { return alert() != nullptr; }));
  EXPECT_EQ(alert()->title, "Failed with error 5");
  EXPECT_EQ(alert()->message(), "The camera was unplugged.");
  EXPECT_TRUE(isShown());
}

TEST(HostFrame, samplesAreTakenWhereTheyLieOrCopiedWhenNoFormatFits) {
  // Three columns and rows: blue 10.., red 50.., with a byte between them and after each row.
  const std::vector<std::uint8_t> luma = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0};
  const auto owner = std::make_shared<int>(0);
  Samples420 samples{.size = {3, 3}, .luma = luma.data(), .lumaStride = 4};
  const auto picture = [&](const std::uint8_t* blue, const std::uint8_t* red, std::ptrdiff_t stride,
                           std::ptrdiff_t step, PixelFormat expected, bool keeps) {
    samples.blue = blue;
    samples.red = red;
    samples.chromaStride = stride;
    samples.chromaStep = step;
    const auto frame = frameOf(samples, owner);
    EXPECT_TRUE(frame);
    EXPECT_EQ(frame->format, expected);
    EXPECT_EQ(owner.use_count(), keeps ? 2 : 1);
    return face::pictureFrom(*frame)->pixels;
  };
  const std::uint8_t blue[] = {90, 150, 120, 200};
  const std::uint8_t red[] = {160, 100, 60, 140};
  const std::uint8_t blueFirst[] = {90, 160, 150, 100, 120, 60, 200, 140};
  const std::uint8_t redFirst[] = {160, 90, 100, 150, 60, 120, 140, 200};
  const std::uint8_t apart[] = {90, 0, 160, 0, 150, 0, 100, 0, 120, 0, 60, 0, 200, 0, 140, 0};
  const auto planar = picture(blue, red, 2, 1, PixelFormat::i420, true);
  EXPECT_EQ(picture(blueFirst, blueFirst + 1, 4, 2, PixelFormat::nv12, true), planar);
  EXPECT_EQ(picture(redFirst + 1, redFirst, 4, 2, PixelFormat::i420, false), planar);
  EXPECT_EQ(picture(apart, apart + 2, 8, 4, PixelFormat::i420, false), planar);
}

TEST(HostFrame, whatIsNotSoundMakesNone) {
  const std::vector<std::uint8_t> bytes(64);
  const Samples420 good{.size = {4, 4},
                        .luma = bytes.data(),
                        .blue = bytes.data(),
                        .red = bytes.data(),
                        .lumaStride = 4,
                        .chromaStride = 2};
  ASSERT_TRUE(frameOf(good, nullptr));
  const auto isNone = [&](auto spoil) {
    Samples420 samples = good;
    spoil(samples);
    return frameOf(samples, nullptr) == nullptr;
  };
  EXPECT_TRUE(isNone([](auto& s) { s.size = {0, 4}; }));
  EXPECT_TRUE(isNone([](auto& s) { s.size = {1 << 16, 1 << 16}; }));
  EXPECT_TRUE(isNone([](auto& s) { s.luma = nullptr; }));
  EXPECT_TRUE(isNone([](auto& s) { s.red = nullptr; }));
  EXPECT_TRUE(isNone([](auto& s) { s.lumaStride = 3; }));
  EXPECT_TRUE(isNone([](auto& s) { s.chromaStride = 1; }));
  EXPECT_TRUE(isNone([](auto& s) { s.chromaStep = 0; }));
  EXPECT_TRUE(isNone([](auto& s) { s.chromaStep = 2; }));
}

}  // namespace
}  // namespace veltrane::testing
