#include "platform/opencv/network_vision.h"

#include <algorithm>
#include <utility>

namespace veltrane::opencv {
namespace {

/// Each costs a call of the second network, in every frame; a person before a camera is among the
/// largest.
constexpr std::size_t kMostFaces = 8;
/// How sure the network has to be of a face to tell of its features.
constexpr double kIsThere = 0.5;

}  // namespace

NetworkVision::NetworkVision(std::unique_ptr<FaceNetworks> networks)
    : networks_(std::move(networks)) {}

VisionOutcome<FaceObservation> NetworkVision::detectFaceRectangles(const PixelBuffer& frame) {
  std::string error;
  auto faces = networks_->detect(frame, error);
  if (!faces) return {{}, error};
  std::stable_sort(faces->begin(), faces->end(), [](const auto& one, const auto& other) {
    return one.face.side > other.face.side;
  });
  faces->resize(std::min(faces->size(), kMostFaces));
  detected_.clear();
  followed_.clear();
  VisionOutcome<FaceObservation> outcome;
  for (const Detection& detection : *faces) {
    const Rect box = normalised(boxOf(detection.face), frame.uprightSize());
    detected_.push_back({box, surroundings(detection.face), {}});
    outcome.results.push_back({.boundingBox = box, .confidence = detection.score, .landmarks = {}});
  }
  return outcome;
}

VisionOutcome<std::optional<FaceObservation>> NetworkVision::trackFaces(
    const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) {
  const PixelSize size = frame.uprightSize();
  VisionOutcome<std::optional<FaceObservation>> outcome;
  std::vector<Known> followed;
  for (const auto& request : requests) {
    const Rect& last = request.inputObservation.boundingBox;
    const Square square = surroundingsOf(last, size);
    std::string error;
    auto seen = networks_->look(frame, square, error);
    if (!seen) return {{}, error};
    if (!seen->points) {
      outcome.results.emplace_back();
      continue;
    }
    const bool isFace = seen->presence > kIsThere;
    Known known{last, square, {}};
    if (isFace) {
      known = {normalised(boxOf(*seen->points), size), surroundings(*seen->points),
               std::move(*seen->points)};
    }
    outcome.results.push_back(
        FaceObservation{.boundingBox = known.box, .confidence = seen->presence, .landmarks = {}});
    followed.push_back(std::move(known));
  }
  followed_ = std::move(followed);
  pixels_ = {frame.planes[0].data, frame.memory};
  return outcome;
}

VisionOutcome<FaceObservation> NetworkVision::detectFaceLandmarks(const PixelBuffer& frame,
                                                                  const std::vector<Rect>& boxes) {
  const PixelSize size = frame.uprightSize();
  VisionOutcome<FaceObservation> outcome;
  for (const Rect& box : boxes) {
    FaceObservation face{.boundingBox = box, .confidence = 1, .landmarks = {}};
    if (const auto* points = pointsIn(frame, box)) {
      face.landmarks = landmarksOf(*points, size);
    } else {
      std::string error;
      const auto seen = networks_->look(frame, surroundingsOf(box, size), error);
      if (!seen) return {{}, error};
      face.confidence = seen->presence;
      if (seen->points && seen->presence > kIsThere) {
        face.landmarks = landmarksOf(*seen->points, size);
      }
    }
    outcome.results.push_back(std::move(face));
  }
  return outcome;
}

/// How a face leans is only known of one that has been seen here.
Square NetworkVision::surroundingsOf(const Rect& box, PixelSize size) const {
  for (const auto* faces : {&followed_, &detected_}) {
    const auto known = std::find_if(faces->begin(), faces->end(),
                                    [&](const Known& face) { return face.box == box; });
    if (known != faces->end()) return known->surroundings;
  }
  return surroundings(denormalised(box, size));
}

/// Followed faces have been looked at in this frame already: their features are known.
const FacePoints* NetworkVision::pointsIn(const PixelBuffer& frame, const Rect& box) const {
  const bool isSameFrame = frame.memory && frame.planes[0].data == pixels_.first &&
                           !frame.memory.owner_before(pixels_.memory) &&
                           !pixels_.memory.owner_before(frame.memory);
  if (!isSameFrame) return nullptr;
  const auto known = std::find_if(followed_.begin(), followed_.end(), [&](const Known& face) {
    return face.box == box && !face.points.empty();
  });
  return known == followed_.end() ? nullptr : &known->points;
}

}  // namespace veltrane::opencv
