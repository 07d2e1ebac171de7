#include "veltrane/face/face_tracking.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "veltrane/base/console.h"

namespace veltrane {
namespace {

/// A box that can be drawn. What a vision library tells of noise need not be one.
bool isSound(const Rect& box) {
  return std::isfinite(box.x) && std::isfinite(box.y) && std::isfinite(box.width) &&
         std::isfinite(box.height) && box.width > 0 && box.height > 0;
}

/// What vision has seen beside the faces that it was asked for.
std::vector<Rect> othersIn(const std::vector<std::optional<FaceObservation>>& results,
                           std::size_t asked) {
  std::vector<Rect> others;
  for (std::size_t i = asked; i < results.size(); ++i) {
    if (results[i] && isSound(results[i]->boundingBox)) others.push_back(results[i]->boundingBox);
  }
  return others;
}

}  // namespace

FaceTracking::FaceTracking(std::shared_ptr<FaceVision> vision) : vision_(std::move(vision)) {}

template <typename Result>
void FaceTracking::tellFailure(const char* request, const VisionOutcome<Result>& outcome) {
  console::print(std::string("Failed to perform ") + request + ": " + *outcome.error);
  isOver_ = outcome.isFinal;
}

std::optional<FacesInFrame> FaceTracking::captureOutput(const PixelBufferPtr& frame) {
  if (!frame || !frame->isSound()) {
    console::print("Failed to obtain a CVPixelBuffer for the current output frame.");
    return std::nullopt;
  }
  if (isOver_) return std::nullopt;
  return trackingRequests_.empty() ? detect(frame) : track(frame);
}

std::optional<FacesInFrame> FaceTracking::detect(const PixelBufferPtr& frame) {
  auto found = vision_->detectFaceRectangles(*frame);
  if (found.error) {
    tellFailure("FaceRectangleRequest", found);
    return std::nullopt;
  }
  std::erase_if(found.results, [](const auto& face) { return !isSound(face.boundingBox); });
  for (const auto& face : found.results) {
    trackingRequests_.push_back({.identifier = ++lastIdentifier_, .inputObservation = face});
  }
  return FacesInFrame{
      .frame = frame, .faces = std::move(found.results), .others = {}, .areTracked = false};
}

std::optional<FacesInFrame> FaceTracking::track(const PixelBufferPtr& frame) {
  auto tracked = vision_->trackFaces(*frame, trackingRequests_);
  if (tracked.error) {
    tellFailure("SequenceRequest", tracked);
    return std::nullopt;
  }
  auto others = othersIn(tracked.results, trackingRequests_.size());
  const auto boxes = takeOver(std::move(tracked.results));
  if (trackingRequests_.empty()) return std::nullopt;
  FacesInFrame seen{.frame = frame, .faces = {}, .others = std::move(others), .areTracked = true};
  if (boxes.empty()) return seen;
  auto found = vision_->detectFaceLandmarks(*frame, boxes);
  if (found.error) {
    tellFailure("FaceLandmarkRequest", found);
    return std::nullopt;
  }
  found.results.resize(std::min(found.results.size(), boxes.size()));
  for (std::size_t i = 0; i < found.results.size(); ++i) {
    found.results[i].boundingBox = boxes[i];
  }
  seen.faces = std::move(found.results);
  return seen;
}

/// Makes the requests of the next frame; answers where those faces are that are followed further. A
/// request whose face has got lost is asked once more, as its last frame, and then dropped.
std::vector<Rect> FaceTracking::takeOver(std::vector<std::optional<FaceObservation>> results) {
  results.resize(trackingRequests_.size());
  std::vector<FaceTrackingRequest> next;
  std::vector<Rect> boxes;
  for (std::size_t i = 0; i < results.size(); ++i) {
    auto& request = trackingRequests_[i];
    auto& result = results[i];
    if (!result || !isSound(result->boundingBox) || request.isLastFrame) continue;
    if (result->confidence > kConfidence) {
      boxes.push_back(result->boundingBox);
      request.inputObservation = std::move(*result);
    } else {
      request.isLastFrame = true;
    }
    next.push_back(std::move(request));
  }
  trackingRequests_ = std::move(next);
  return boxes;
}

}  // namespace veltrane
