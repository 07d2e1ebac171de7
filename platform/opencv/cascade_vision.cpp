#include "platform/opencv/cascade_vision.h"

#include <algorithm>
#include <utility>

namespace veltrane::opencv {
namespace {

/// Sides of what is looked through, in pixels: for faces of any size, and for one whose size is
/// known within a third or so.
constexpr int kWholeSide = 480;
constexpr int kNearSide = 120;
/// How much larger than the face is what is looked through for it.
constexpr double kNear = 2;

/// The cascade's boxes end at the mouth and beside the eyes: from their side to that of the face,
/// and how far its middle lies below theirs, in sides of theirs.
constexpr double kFaceOfBox = 1.28;
constexpr double kBelow = 0.12;

Rect faceOf(const Rect& box) {
  const double side = kFaceOfBox * box.width;
  const double x = box.x + box.width / 2;
  const double y = box.y + (0.5 + kBelow) * box.height;
  return {x - side / 2, y - side / 2, side, side};
}

double confidenceOf(const FaceNetworks::Sighting& sighting) {
  return sighting.count / (sighting.count + 1.0);
}

FaceObservation observationOf(const FaceNetworks::Sighting& sighting, PixelSize size) {
  return {.boundingBox = normalised(faceOf(sighting.box), size),
          .confidence = confidenceOf(sighting),
          .landmarks = {}};
}

}  // namespace

CascadeVision::CascadeVision(std::unique_ptr<FaceNetworks> networks)
    : networks_(std::move(networks)) {}

VisionOutcome<FaceObservation> CascadeVision::detectFaceRectangles(const PixelBuffer& frame) {
  VisionOutcome<FaceObservation> outcome;
  std::string error;
  const auto sightings = networks_->cascade(frame, wholeOf(frame), kWholeSide, error);
  if (!sightings) return {{}, error};
  for (const auto& sighting : *sightings) {
    outcome.results.push_back(observationOf(sighting, frame.uprightSize()));
  }
  return outcome;
}

VisionOutcome<std::optional<FaceObservation>> CascadeVision::trackFaces(
    const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) {
  const PixelSize size = frame.uprightSize();
  VisionOutcome<std::optional<FaceObservation>> outcome;
  for (const auto& request : requests) {
    const FaceObservation& last = request.inputObservation;
    const Rect box = denormalised(last.boundingBox, size);
    const Square square{{box.x + box.width / 2, box.y + box.height / 2},
                        kNear * std::max(box.width, box.height)};
    std::string error;
    const auto sightings = networks_->cascade(frame, square, kNearSide, error);
    if (!sightings) return {{}, error};
    const auto surest = std::max_element(
        sightings->begin(), sightings->end(),
        [](const auto& one, const auto& other) { return one.count < other.count; });
    outcome.results.push_back(
        surest != sightings->end()
            ? observationOf(*surest, size)
            : FaceObservation{.boundingBox = last.boundingBox, .confidence = 0, .landmarks = {}});
  }
  return outcome;
}

VisionOutcome<FaceObservation> CascadeVision::detectFaceLandmarks(const PixelBuffer& /*frame*/,
                                                                  const std::vector<Rect>& boxes) {
  VisionOutcome<FaceObservation> outcome;
  for (const Rect& box : boxes) outcome.results.push_back({.boundingBox = box});
  return outcome;
}

}  // namespace veltrane::opencv
