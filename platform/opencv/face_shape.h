#pragma once

#include <optional>
#include <vector>

#include "platform/opencv/frame_sampler.h"
#include "platform/opencv/late/vision_module.h"
#include "veltrane/face/face_vision.h"

namespace veltrane::opencv {

// What a face is by its detection or its mesh. In pixels of the upright picture, origin at the
// upper left, unless it says otherwise.

/// Points of a face, in the mesh's order.
using FacePoints = std::vector<Point>;

/// The points of a mesh, through the map from the network's input. Nothing when they are no face's:
/// no numbers, or far outside of what was looked at.
std::optional<FacePoints> pointsOf(const VeltraneMesh& mesh, const AffineTransform& map);

/// From ear to ear and from the brows to the chin, and square.
Rect boxOf(const FacePoints& points);
Rect boxOf(const Square& detected);

/// What both cover, of what either does.
double overlap(const Rect& one, const Rect& other);

/// Where the mesh has to look: for a face that was detected, one that was followed until now, and
/// one of which only the box is known.
Square surroundings(const Square& detected);
Square surroundings(const FacePoints& points);
Square surroundings(const Rect& box);

/// Normalised, origin at the lower left, over a picture of this size, and back.
Rect normalised(const Rect& box, PixelSize size);
Rect denormalised(const Rect& box, PixelSize size);

/// Eyes, brows, nose, lips, and the line from ear to ear along the chin; normalised.
std::vector<FaceLandmarkRegion> landmarksOf(const FacePoints& points, PixelSize size);

}  // namespace veltrane::opencv
