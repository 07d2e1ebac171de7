#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/face/fakes.h"
#include "tests/support/fakes.h"
#include "veltrane/face/face_image_capture_vc.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::testing {

/// A view of 390 x 844 points that a frame of 90 x 160 pixels fills: boxes as vision tells them.
inline constexpr Rect kInside{0.3, 0.3, 0.4, 0.4};
inline constexpr Rect kOutside{0.05, 0.3, 0.4, 0.4};

struct RecordingListener final : FaceImageCaptureVCDelegate {
  void faceImageCaptureResult(const std::optional<std::string>& base64Png,
                              const std::optional<VeltraneFlowError>& error) override {
    EXPECT_NE(base64Png.has_value(), error.has_value());
    heard.push_back(error ? std::string(error->reasonName()) + ": " + error->errorDescription()
                          : *base64Png);
  }
  std::vector<std::string> heard;
};

/// A capture screen over a host's, with the camera, the eyes and the person in the test's hand.
class CaptureHost : public ::testing::Test {
 protected:
  CaptureHost() : ports_(portsWith(*this)) { reopen(); }

  static Platform portsWith(CaptureHost& host) {
    Platform ports = host.platform.ports();
    ports.pictureCodec = host.codec;
    ports.makeCamera = [&host] { return host.camera; };
    ports.makeFaceVision = [&host] { return host.vision; };
    return ports;
  }

  void reopen() {
    screen = std::make_shared<FaceImageCaptureVC>();
    screen->delegate = listener;
    screen->viewDidLayoutSubviews({390, 844});
  }
  void present() {
    screen->modalPresentationStyle = ModalPresentationStyle::fullScreen;
    window->present(screen, true);
    run();
  }
  void presentWithCamera() {
    present();
    camera->events.opened({.resolution = {90, 160}, .isFront = true});
    run();
  }

  void run() { platform.mainQueue->run(); }
  /// Lets all threads get on until it is so; false when that takes more than 20 seconds.
  template <typename Condition>
  bool until(Condition condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < limit) {
      run();
      if (condition()) return true;
      std::this_thread::yield();
    }
    return false;
  }
  /// Lets the camera deliver a frame as soon as it is not too early for one.
  void deliver(const PixelBufferPtr& frame = makeFrame()) {
    ASSERT_TRUE(until([&] { return camera->events.frame(frame); }));
  }
  /// Frames until these faces are followed, drawn and decided on.
  void follow(std::vector<Rect> faces, const PixelBufferPtr& frame = makeFrame()) {
    vision->see({.faces = std::move(faces)});
    platform.console->take();
    ASSERT_TRUE(until([&] {
      if (platform.console->mentions("face ")) return true;
      camera->events.frame(frame);
      return false;
    }));
  }
  /// The picture is made and the screen leaves.
  void finish() {
    platform.pictureQueue->run();
    run();
  }
  std::shared_ptr<AlertController> alert() const {
    return std::dynamic_pointer_cast<AlertController>(screen->presentedViewController());
  }
  bool isShown() const { return window->presentedViewController() == screen; }
  bool isGreen() const { return screen->imgView.strokeColor == face::kGreen; }

  FakePlatform platform;
  std::shared_ptr<SizeCodec> codec = std::make_shared<SizeCodec>();
  std::shared_ptr<FakeCamera> camera = std::make_shared<FakeCamera>();
  std::shared_ptr<FakeVision> vision = std::make_shared<FakeVision>();
  PlatformScope ports_;
  std::shared_ptr<HostViewController> window = std::make_shared<HostViewController>();
  std::shared_ptr<RecordingListener> listener = std::make_shared<RecordingListener>();
  std::shared_ptr<FaceImageCaptureVC> screen;
};

}  // namespace veltrane::testing
