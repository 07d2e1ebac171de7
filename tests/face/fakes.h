#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "veltrane/face/camera.h"
#include "veltrane/face/face_vision.h"
#include "veltrane/toolkit/picture_codec.h"

namespace veltrane::testing {

/// An upright frame with `extra` bytes of padding a row.
inline PixelBufferPtr makeFrame(PixelSize size = {90, 160}, PixelFormat format = PixelFormat::nv12,
                                std::size_t extra = 0) {
  return PixelBuffer::allocate(format, size, extra).buffer;
}

/// A camera in the test's hand.
class FakeCamera final : public Camera {
 public:
  void startRunning(Events given) override { events = std::move(given); }
  void stopRunning() override { ++stops; }

  Events events;
  int stops = 0;
};

/// Sees the face that it is told of, in every frame. May be told while it is asked.
class FakeVision final : public FaceVision {
 public:
  struct Sight {
    std::vector<Rect> faces;
    double confidence = 1;
    std::optional<std::string> detectionError, trackingError, landmarksError;
    bool isFinal = false;
  };

  void see(Sight sight) {
    const std::lock_guard lock(mutex_);
    sight_ = std::move(sight);
  }
  /// Lets questions wait until `goOn`.
  void hold() {
    const std::lock_guard lock(mutex_);
    held_ = true;
  }
  void goOn() {
    const std::lock_guard lock(mutex_);
    held_ = false;
    changed_.notify_all();
  }
  /// Returns while a question is held.
  void waitUntilAsked() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isAsked_; });
  }
  /// "detect", "track 1", "track 1 last", "landmarks 2", in their order, since last asked.
  std::vector<std::string> takeQuestions() {
    const std::lock_guard lock(mutex_);
    return std::exchange(questions_, {});
  }

  VisionOutcome<FaceObservation> detectFaceRectangles(const PixelBuffer& /*frame*/) override {
    const Sight sight = ask("detect");
    return {observationsOf(sight.faces, sight.confidence), sight.detectionError, sight.isFinal};
  }
  VisionOutcome<std::optional<FaceObservation>> trackFaces(
      const PixelBuffer& /*frame*/, const std::vector<FaceTrackingRequest>& requests) override {
    std::string question = "track " + std::to_string(requests.size());
    for (const auto& request : requests) question += request.isLastFrame ? " last" : "";
    const Sight sight = ask(std::move(question));
    VisionOutcome<std::optional<FaceObservation>> outcome{{}, sight.trackingError};
    for (auto& face : observationsOf(sight.faces, sight.confidence)) {
      outcome.results.emplace_back(std::move(face));
    }
    return outcome;
  }
  VisionOutcome<FaceObservation> detectFaceLandmarks(const PixelBuffer& /*frame*/,
                                                     const std::vector<Rect>& boxes) override {
    const Sight sight = ask("landmarks " + std::to_string(boxes.size()));
    VisionOutcome<FaceObservation> outcome{observationsOf(boxes, 1), sight.landmarksError};
    for (auto& face : outcome.results) {
      face.landmarks.push_back({.points = {{0.5, 0.25}, {0.5, 0.5}}, .isClosed = false});
    }
    return outcome;
  }

 private:
  static std::vector<FaceObservation> observationsOf(const std::vector<Rect>& boxes,
                                                     double confidence) {
    std::vector<FaceObservation> faces;
    for (const Rect& box : boxes) {
      faces.push_back({.boundingBox = box, .confidence = confidence, .landmarks = {}});
    }
    return faces;
  }
  Sight ask(std::string question) {
    std::unique_lock lock(mutex_);
    questions_.push_back(std::move(question));
    isAsked_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !held_; });
    isAsked_ = false;
    return sight_;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  Sight sight_;
  std::vector<std::string> questions_;
  bool held_ = false;
  bool isAsked_ = false;
};

/// Encodes a picture as the text "WxH". Fails on purpose.
class SizeCodec final : public PictureCodec {
 public:
  PicturePtr decode(std::string_view /*bytes*/) const override { return nullptr; }
  std::optional<std::string> encodePNG(const Picture& picture) const override {
    if (failsToEncode) return std::nullopt;
    return std::to_string(picture.size.width) + "x" + std::to_string(picture.size.height);
  }
  PicturePtr resize(const Picture& /*picture*/, PixelSize size,
                    ResizeFramework framework) const override {
    if (failsToResize || framework != ResizeFramework::coreGraphics) return nullptr;
    return std::make_shared<Picture>(Picture{size, Pixels(4), true});
  }

  bool failsToEncode = false;
  bool failsToResize = false;
};

}  // namespace veltrane::testing
