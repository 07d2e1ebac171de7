#include "platform/opencv/network_vision.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace veltrane::opencv {
namespace {

/// Each costs a call of the second network, in every frame; a person before a camera is among the
/// largest.
constexpr std::size_t kMostFaces = 8;

/// A face that has moved by more than this part of what was looked at, or is larger or smaller by
/// more than that, has been seen at its edge, where the network may take a mouth for eyes. It is
/// looked at again, where it seems to be, so many times at most.
constexpr double kMoved = 0.08;
constexpr double kGrown = 1.2;
constexpr int kLooks = 3;
/// The network believes what it has once taken for eyes. So the detector is asked now and then.
constexpr int kFramesADetection = 4;
/// Boxes that share less than this part of what both cover are not of the same face, and ones that
/// share more than that tell the same.
constexpr double kSameFace = 0.1;
constexpr double kSamePlace = 0.5;

bool isElsewhere(const Square& face, const Square& square) {
  const double moved =
      std::hypot(face.middle.x - square.middle.x, face.middle.y - square.middle.y) / square.side;
  const double grown = face.side / square.side;
  return moved > kMoved || grown > kGrown || grown < 1 / kGrown;
}

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
  others_.clear();
  framesSinceDetection_ = 0;
  VisionOutcome<FaceObservation> outcome;
  for (const Detection& detection : *faces) {
    auto seen = networks_->look(frame, surroundings(detection.face), error);
    if (!seen) return {{}, error};
    if (seen->points.empty()) continue;
    Known known = knownOf(std::move(*seen), frame.uprightSize());
    const bool isKnown = std::any_of(detected_.begin(), detected_.end(), [&](const Known& other) {
      return overlap(other.box, known.box) > kSamePlace;
    });
    if (isKnown) continue;
    detected_.push_back(std::move(known));
    outcome.results.push_back(
        {.boundingBox = detected_.back().box, .confidence = detection.score, .landmarks = {}});
  }
  return outcome;
}

VisionOutcome<std::optional<FaceObservation>> NetworkVision::trackFaces(
    const PixelBuffer& frame, const std::vector<FaceTrackingRequest>& requests) {
  const PixelSize size = frame.uprightSize();
  std::vector<Known> faces;
  std::string error;
  for (const auto& request : requests) {
    const Rect& last = request.inputObservation.boundingBox;
    const Square square = surroundingsOf(last, size);
    auto seen = follow(frame, square, error);
    if (!seen) return {{}, error};
    // Of a face that has gone, where it was.
    faces.push_back(seen->points.empty() ? Known{last, square, {}, seen->presence}
                                         : knownOf(std::move(*seen), size));
  }
  if (++framesSinceDetection_ >= kFramesADetection && !putRight(frame, faces, error)) {
    return {{}, error};
  }
  keepApart(faces, requests);
  VisionOutcome<std::optional<FaceObservation>> outcome;
  for (const Known& face : faces) {
    outcome.results.push_back(
        FaceObservation{.boundingBox = face.box, .confidence = face.presence, .landmarks = {}});
  }
  outcome.results.insert(outcome.results.end(), others_.begin(), others_.end());
  followed_ = std::move(faces);
  pixels_ = {frame.planes[0].data, frame.memory};
  return outcome;
}

/// Looks for the face that is known to have been in the square. Nothing when OpenCV fails.
std::optional<FaceNetworks::Look> NetworkVision::follow(const PixelBuffer& frame, Square square,
                                                        std::string& error) {
  auto seen = networks_->look(frame, square, error);
  for (int looks = 1; looks < kLooks; ++looks) {
    if (!seen || seen->points.empty()) break;
    const Square now = surroundings(seen->points);
    if (!isElsewhere(now, square)) break;
    square = now;
    seen = networks_->look(frame, square, error);
  }
  return seen;
}

/// Looks again at faces that the detector sees a little elsewhere. False when OpenCV fails.
bool NetworkVision::putRight(const PixelBuffer& frame, std::vector<Known>& faces,
                             std::string& error) {
  framesSinceDetection_ = 0;
  const auto detections = networks_->detect(frame, error);
  if (!detections) return false;
  const PixelSize size = frame.uprightSize();
  for (Known& face : faces) {
    if (face.points.empty()) continue;
    const auto shared = [&](const Detection& detection) {
      return overlap(face.box, normalised(boxOf(detection.face), size));
    };
    const auto nearest = std::max_element(
        detections->begin(), detections->end(),
        [&](const auto& one, const auto& other) { return shared(one) < shared(other); });
    if (nearest == detections->end()) continue;
    if (shared(*nearest) < kSameFace || shared(*nearest) > kSamePlace) continue;
    auto seen = follow(frame, surroundings(nearest->face), error);
    if (!seen) return false;
    if (!seen->points.empty()) face = knownOf(std::move(*seen), size);
  }
  return lookForOthers(frame, *detections, faces, error);
}

/// Somebody may have come while others are followed. False when OpenCV fails.
bool NetworkVision::lookForOthers(const PixelBuffer& frame,
                                  const std::vector<Detection>& detections,
                                  const std::vector<Known>& faces, std::string& error) {
  others_.clear();
  const PixelSize size = frame.uprightSize();
  for (const Detection& detection : detections) {
    const Rect box = normalised(boxOf(detection.face), size);
    const bool isFollowed = std::any_of(faces.begin(), faces.end(), [&](const Known& face) {
      return overlap(face.box, box) > kSameFace;
    });
    if (isFollowed || faces.size() + others_.size() >= kMostFaces) continue;
    const auto seen = networks_->look(frame, surroundings(detection.face), error);
    if (!seen) return false;
    if (seen->points.empty()) continue;
    others_.push_back({.boundingBox = box, .confidence = seen->presence, .landmarks = {}});
  }
  return true;
}

/// Where two requests have come to the same face, it is the one's that it is nearer to, and the
/// other's has gone.
void NetworkVision::keepApart(std::vector<Known>& faces,
                              const std::vector<FaceTrackingRequest>& requests) {
  const auto nearness = [&](std::size_t i) {
    return requests[i].isLastFrame
               ? -1
               : overlap(faces[i].box, requests[i].inputObservation.boundingBox);
  };
  for (std::size_t i = 0; i < faces.size(); ++i) {
    for (std::size_t j = i + 1; j < faces.size(); ++j) {
      if (faces[i].points.empty() || faces[j].points.empty()) continue;
      if (overlap(faces[i].box, faces[j].box) <= kSamePlace) continue;
      Known& gone = faces[nearness(i) < nearness(j) ? i : j];
      gone.points = {};
      gone.presence = 0;
    }
  }
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
      if (!seen->points.empty()) face.landmarks = landmarksOf(seen->points, size);
    }
    outcome.results.push_back(std::move(face));
  }
  return outcome;
}

NetworkVision::Known NetworkVision::knownOf(FaceNetworks::Look seen, PixelSize size) {
  return {normalised(boxOf(seen.points), size), surroundings(seen.points), std::move(seen.points),
          seen.presence};
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
