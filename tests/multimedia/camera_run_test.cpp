#include "platform/qtquick/multimedia/camera_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <cstring>
#include <string>
#include <vector>

namespace veltrane::qtquick::multimedia::test {
namespace {

constexpr Host kHost;
using Lines = std::vector<std::string>;

/// A camera in the test's hand.
struct Device {
  bool isListed = true;
  bool isForbidden = false;
  bool isGivenBack = false;
  CameraSource::Events events;
};

class FakeSource final : public CameraSource {
 public:
  explicit FakeSource(Device& device) : device_(device) {}
  ~FakeSource() override { device_.isGivenBack = true; }
  void start(Events events) override { device_.events = std::move(events); }
  bool isFront() const override { return true; }
  bool isListed() const override { return device_.isListed; }
  bool isForbidden() const override { return device_.isForbidden; }

 private:
  Device& device_;
};

QVideoFrame frameOf(QVideoFrameFormat::PixelFormat format) {
  return QVideoFrame(QVideoFrameFormat({64, 48}, format));
}

class CameraRunTest : public ::testing::Test {
 protected:
  /// Long enough for no pause to pass by itself.
  explicit CameraRunTest(std::chrono::milliseconds pause = std::chrono::hours(1)) : pause_(pause) {
    start();
  }
  ~CameraRunTest() override { stop(); }

  void start() {
    run_ = new CameraRun(
        std::make_unique<FakeSource>(device_), kHost,
        {.opened = [this](const CameraFormat&) { tell("opened"); },
         .frame =
             [this](const PixelBufferPtr& frame) {
               tell(frame ? "frame" : "no pixels");
               return true;
             },
         .failed =
             [this](const CameraError& error) {
               tell("failed " + std::to_string(error.code) + ": " + error.localizedDescription);
             }},
        pause_);
    run_->start();
  }
  void stop() {
    if (run_) std::exchange(run_, nullptr)->stop();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  /// More than are dropped for coming too soon after another.
  void film(QVideoFrameFormat::PixelFormat format = QVideoFrameFormat::Format_NV12) {
    const auto before = heard_.size();
    while (heard_.size() == before) device_.events.frame(frameOf(format));
  }
  void lookInVain(int times) {
    for (int i = 0; i < times; ++i) run_->look();
  }
  Lines heard() { return std::exchange(heard_, {}); }

  Device device_;
  CameraRun* run_ = nullptr;

 private:
  void tell(const std::string& line) {
    heard_.push_back(line);
    if (line == stopsAt_) std::exchange(run_, nullptr)->stop();
  }

 protected:
  std::string stopsAt_;

 private:
  const std::chrono::milliseconds pause_;
  Lines heard_;
};

TEST_F(CameraRunTest, tellsOfALossOnce) {
  film();
  EXPECT_EQ(heard(), (Lines{"opened", "frame"}));
  device_.events.listChanged();
  EXPECT_EQ(heard(), Lines{}) << "another camera has come or gone";
  device_.isListed = false;
  device_.events.listChanged();
  EXPECT_EQ(heard(), Lines{"failed 5: The camera was disconnected."});
  device_.events.failed({.number = 1, .words = "No such device"});
  device_.events.frame(frameOf(QVideoFrameFormat::Format_NV12));
  lookInVain(9);
  EXPECT_EQ(heard(), Lines{});
  EXPECT_FALSE(device_.isGivenBack);
  stop();
  EXPECT_TRUE(device_.isGivenBack);
}

TEST_F(CameraRunTest, tellsWhatTheSystemSays) {
  device_.events.failed({.number = 1, .words = "Cannot set the format."});
  EXPECT_EQ(heard(), Lines{"failed 101: Cannot set the format."});
  stop();
  start();
  film();
  device_.events.failed({.number = 1, .words = "The device is on fire."});
  EXPECT_EQ(heard(), (Lines{"opened", "frame", "failed 5: The device is on fire."}));
}

TEST_F(CameraRunTest, noticesACameraThatSaysNothing) {
  lookInVain(CameraRun::kSilentLooks - 1);
  EXPECT_EQ(heard(), Lines{});
  lookInVain(1);
  EXPECT_EQ(heard(), Lines{"failed 4: The camera shows nothing. Another program may be using it."});
}

TEST_F(CameraRunTest, noticesACameraThatStallsLater) {
  for (int i = 0; i < 5; ++i) {
    film();
    lookInVain(CameraRun::kSilentLooks);
    EXPECT_EQ(heard().back(), "frame") << "the first look has found one";
  }
  lookInVain(1);
  EXPECT_EQ(heard(), Lines{"failed 5: The camera has stopped."});
}

TEST_F(CameraRunTest, framesWithoutPixelsDoNotCount) {
  for (int i = 0; i < CameraRun::kSilentLooks; ++i) {
    film(QVideoFrameFormat::Format_Y16);
    EXPECT_EQ(heard(), Lines{"no pixels"});
    lookInVain(1);
  }
  EXPECT_EQ(heard(), Lines{"failed 2: The camera gives no pictures that can be used."});
}

TEST_F(CameraRunTest, mayBeStoppedWithinItsCalls) {
  for (const std::string within : {"opened", "frame", "failed 5: The camera was disconnected."}) {
    SCOPED_TRACE(within);
    stop();
    device_ = {};
    stopsAt_ = within;
    start();
    film();
    device_.isListed = false;
    device_.events.listChanged();
    device_.events.frame(frameOf(QVideoFrameFormat::Format_NV12));
    EXPECT_EQ(heard().back(), within) << "nothing follows";
    EXPECT_FALSE(device_.isGivenBack) << "it calls at this moment";
    stop();
    EXPECT_TRUE(device_.isGivenBack);
  }
}

class ShortPauses : public CameraRunTest {
 protected:
  ShortPauses() : CameraRunTest(std::chrono::milliseconds(1)) {}
};

TEST_F(ShortPauses, areTakenByItself) {
  Lines told;
  while (told.empty()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    told = heard();
  }
  EXPECT_TRUE(told[0].starts_with("failed 4"));
}

}  // namespace
}  // namespace veltrane::qtquick::multimedia::test
