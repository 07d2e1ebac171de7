#include <atomic>
#include <future>

#include "tests/face/capture_host.h"
#include "veltrane/face/video_data_output.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;

TEST(VideoDataOutput, aFrameThatComesWhileAnotherIsUnderWayIsDropped) {
  std::promise<void> begun;
  std::promise<void> goOn;
  std::atomic<int> calls = 0;
  std::promise<VideoDataOutput::UnderWay> kept;
  VideoDataOutput output([&](const PixelBufferPtr&, VideoDataOutput::UnderWay underWay) {
    if (calls++ > 0) return;
    begun.set_value();
    goOn.get_future().wait();
    kept.set_value(std::move(underWay));
  });
  EXPECT_TRUE(output.offer(makeFrame()));
  begun.get_future().wait();
  // 240 frames a second for a minute.
  for (int i = 0; i < 14400; ++i) EXPECT_FALSE(output.offer(nullptr));
  goOn.set_value();
  auto underWay = kept.get_future().get();
  EXPECT_FALSE(output.offer(nullptr)) << "the call is over, what follows from it is not";
  underWay.reset();
  EXPECT_TRUE(output.offer(makeFrame()));
  output.stop();
  EXPECT_LE(calls, 2);
  EXPECT_FALSE(output.offer(makeFrame()));
}

TEST(VideoDataOutput, stopWaitsForTheCallThatRuns) {
  std::promise<void> begun;
  std::atomic<bool> isOver = false;
  VideoDataOutput output([&](const PixelBufferPtr&, const VideoDataOutput::UnderWay&) {
    begun.set_value();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    isOver = true;
  });
  output.offer(nullptr);
  begun.get_future().wait();
  output.stop();
  EXPECT_TRUE(isOver);
  output.stop();
}

/// A camera whose thread delivers as fast as it can.
class BusyCamera final : public Camera {
 public:
  ~BusyCamera() override { stopRunning(); }
  void startRunning(Events events) override {
    thread_ = std::thread([this, events = std::move(events)] {
      events.opened({.resolution = {90, 160}, .isFront = true});
      while (!isStopped_) {
        (events.frame(makeFrame()) ? taken : dropped)++;
      }
      // A careless camera, which goes on after its stop.
      for (int i = 0; i < 10; ++i) afterwards += events.frame(makeFrame()) ? 1 : 0;
      events.failed({CameraError::lost, "gone"});
    });
  }
  /// Does not wait for its thread.
  void stopRunning() override { isStopped_ = true; }
  void join() {
    if (thread_.joinable()) thread_.join();
  }

  std::atomic<int> taken = 0, dropped = 0, afterwards = 0;

 private:
  std::atomic<bool> isStopped_ = false;
  std::thread thread_;
};

class CaptureThreads : public CaptureHost {
 protected:
  CaptureThreads() {
    Platform ports = Platform::current();
    ports.makeCamera = [this] { return busy; };
    ports.pictureQueue = std::make_shared<ThreadWorkQueue>();
    scope_.emplace(std::move(ports));
  }
  ~CaptureThreads() override {
    vision->goOn();
    screen.reset();
    busy->stopRunning();
    busy->join();
  }

  std::shared_ptr<BusyCamera> busy = std::make_shared<BusyCamera>();

 private:
  std::optional<PlatformScope> scope_;
};

TEST_F(CaptureThreads, aPictureIsTakenOnceOfAStreamOfFrames) {
  vision->see({.faces = {kInside}});
  present();
  EXPECT_TRUE(until([this] { return !listener->heard.empty(); }));
  busy->join();
  run();
  EXPECT_THAT(listener->heard, ElementsAre("90x160"));
  EXPECT_EQ(busy->afterwards, 0);
}

TEST_F(CaptureThreads, aSlowEyeLosesFramesAndQueuesNone) {
  vision->see({.faces = {kOutside}});
  vision->hold();
  present();
  vision->waitUntilAsked();
  EXPECT_TRUE(until([this] { return busy->dropped > 1000; }));
  EXPECT_EQ(busy->taken, 1);
  EXPECT_TRUE(until([this] { return screen->imagePixelBuffer != nullptr; }))
      << "the live picture goes on";
  vision->goOn();
  EXPECT_TRUE(until([this] { return platform.console->has("face not detected"); }));
}

TEST_F(CaptureThreads, aBusyMainThreadLosesFramesAndIsSentNone) {
  vision->see({.faces = {kOutside}});
  window->present(screen, true);
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (busy->dropped < 1000 && std::chrono::steady_clock::now() < limit) {
    std::this_thread::yield();
  }
  EXPECT_EQ(busy->taken, 1) << "what it has shown is not drawn yet";
}

TEST_F(CaptureThreads, cancelInTheMiddleIsHeardOnce) {
  vision->see({.faces = {kOutside}});
  present();
  EXPECT_TRUE(until([this] { return busy->taken > 5; }));
  screen->cancelButtonPressed();
  vision->takeQuestions();
  vision->see({.faces = {kInside}});
  busy->join();
  run();
  EXPECT_THAT(listener->heard, ElementsAre("veltraneError: User Cancelled"));
  EXPECT_THAT(vision->takeQuestions(), ::testing::IsEmpty());
}

TEST_F(CaptureThreads, aScreenThatGoesTakesItsFramesWithIt) {
  vision->see({.faces = {kInside}});
  std::weak_ptr<FaceImageCaptureVC> gone = screen;
  screen->viewDidLoad();
  EXPECT_TRUE(until([this] { return busy->taken > 1; }));
  screen.reset();
  run();
  EXPECT_TRUE(gone.expired());
  busy->join();
  EXPECT_THAT(listener->heard, ::testing::IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
