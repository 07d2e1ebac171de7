#include "platform/opencv/detections.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/opencv/face_shape.h"

namespace veltrane::opencv {
namespace {

constexpr double kCellSide = double(kVeltraneInput) / kVeltraneGrid;
/// Boxes that share more than this much of what both cover are of one face.
constexpr double kSameFace = 0.3;

struct Cell {
  double x, y, side;
  Point rightEye, leftEye;
  double score;
};

std::optional<Cell> cellAt(const VeltraneDetection& found, int index) {
  const double score = probability(found.scores[index]);
  if (!(score > kLeastScore)) return std::nullopt;
  const float* numbers = found.cells + std::ptrdiff_t{index} * kVeltraneCellNumbers;
  const int row = index / kVeltraneGrid;
  const double x = (index % kVeltraneGrid + 0.5) * kCellSide;
  const double y = (row + 0.5) * kCellSide;
  const Cell cell{.x = x + numbers[0],
                  .y = y + numbers[1],
                  .side = std::max(numbers[2], numbers[3]),
                  .rightEye = {x + numbers[4], y + numbers[5]},
                  .leftEye = {x + numbers[6], y + numbers[7]},
                  .score = score};
  // A face that fills the picture is larger than it, but not much.
  constexpr double kMost = 3 * kVeltraneInput;
  const bool isSound = std::abs(cell.x) < kMost && std::abs(cell.y) < kMost && numbers[2] > 0 &&
                       numbers[3] > 0 && cell.side < kMost && std::abs(cell.rightEye.x) < kMost &&
                       std::abs(cell.rightEye.y) < kMost && std::abs(cell.leftEye.x) < kMost &&
                       std::abs(cell.leftEye.y) < kMost;
  return isSound ? std::optional(cell) : std::nullopt;
}

Rect boxOf(const Cell& cell) {
  return {cell.x - cell.side / 2, cell.y - cell.side / 2, cell.side, cell.side};
}

/// Neighbouring cells see the same face a little differently: their mean, by how sure they are, is
/// steadier than the surest.
Cell mean(const std::vector<Cell>& cells) {
  Cell sum{};
  double weight = 0;
  for (const Cell& cell : cells) {
    const auto add = [&cell](double& to, double value) { to += cell.score * value; };
    add(sum.x, cell.x);
    add(sum.y, cell.y);
    add(sum.side, cell.side);
    add(sum.rightEye.x, cell.rightEye.x);
    add(sum.rightEye.y, cell.rightEye.y);
    add(sum.leftEye.x, cell.leftEye.x);
    add(sum.leftEye.y, cell.leftEye.y);
    weight += cell.score;
  }
  return {.x = sum.x / weight,
          .y = sum.y / weight,
          .side = sum.side / weight,
          .rightEye = {sum.rightEye.x / weight, sum.rightEye.y / weight},
          .leftEye = {sum.leftEye.x / weight, sum.leftEye.y / weight},
          .score = cells.front().score};
}

Detection detectionOf(const Cell& cell, const AffineTransform& map) {
  const Point right = map.apply(cell.rightEye);
  const Point left = map.apply(cell.leftEye);
  return {.face = {.middle = map.apply(Point{cell.x, cell.y}),
                   .side = cell.side * std::hypot(map.a, map.b),
                   .angle = std::atan2(left.y - right.y, left.x - right.x)},
          .score = cell.score};
}

}  // namespace

double probability(double score) {
  return std::isnan(score) ? 0 : 1 / (1 + std::exp(-score));
}

std::vector<Detection> facesIn(const VeltraneDetection& found, const AffineTransform& map) {
  std::vector<Cell> cells;
  for (int i = 0; i < kVeltraneCells; ++i) {
    if (const auto cell = cellAt(found, i)) cells.push_back(*cell);
  }
  std::stable_sort(cells.begin(), cells.end(),
                   [](const Cell& one, const Cell& other) { return one.score > other.score; });
  std::vector<Detection> faces;
  while (!cells.empty()) {
    const Cell surest = cells.front();
    const auto others = std::stable_partition(cells.begin(), cells.end(), [&](const Cell& cell) {
      return overlap(boxOf(surest), boxOf(cell)) > kSameFace;
    });
    faces.push_back(detectionOf(mean({cells.begin(), others}), map));
    cells.erase(cells.begin(), others);
  }
  return faces;
}

}  // namespace veltrane::opencv
