#include "veltrane/face/face_drawing.h"

namespace veltrane::face {

std::vector<FaceLandmarkRegion> outlines(const std::vector<FaceObservation>& faces,
                                         PixelSize resolution) {
  std::vector<FaceLandmarkRegion> lines;
  lines.reserve(faces.size());
  for (const auto& face : faces) {
    const Rect box = captureRect(face.boundingBox, resolution);
    const double right = box.x + box.width;
    const double top = box.y + box.height;
    lines.push_back(
        {.points = {{box.x, box.y}, {right, box.y}, {right, top}, {box.x, top}}, .isClosed = true});
  }
  return lines;
}

std::vector<FaceLandmarkRegion> landmarkLines(const std::vector<FaceObservation>& faces,
                                              PixelSize resolution) {
  std::vector<FaceLandmarkRegion> lines;
  for (const auto& face : faces) {
    for (FaceLandmarkRegion line : face.landmarks) {
      for (Point& point : line.points) {
        point = {point.x * resolution.width, point.y * resolution.height};
      }
      lines.push_back(std::move(line));
    }
  }
  return lines;
}

}  // namespace veltrane::face
