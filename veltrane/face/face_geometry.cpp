#include "veltrane/face/face_geometry.h"

#include <algorithm>

namespace veltrane {

bool Rect::contains(const Rect& other) const {
  return other.x >= x && other.y >= y && other.x + other.width <= x + width &&
         other.y + other.height <= y + height;
}

Rect Rect::inset(double by) const {
  return {x + by, y + by, width - 2 * by, height - 2 * by};
}

Point AffineTransform::apply(Point point) const {
  return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty};
}

Rect AffineTransform::apply(const Rect& rect) const {
  const double right = rect.x + rect.width;
  const double top = rect.y + rect.height;
  const Point corners[] = {apply(Point{rect.x, rect.y}), apply(Point{right, rect.y}),
                           apply(Point{rect.x, top}), apply(Point{right, top})};
  const auto byX = [](const Point& one, const Point& other) { return one.x < other.x; };
  const auto byY = [](const Point& one, const Point& other) { return one.y < other.y; };
  const auto [west, east] = std::minmax_element(std::begin(corners), std::end(corners), byX);
  const auto [north, south] = std::minmax_element(std::begin(corners), std::end(corners), byY);
  return {west->x, north->y, east->x - west->x, south->y - north->y};
}

namespace face {

Rect ovalRectIn(Size view) {
  return {view.width / 2 - kMaskSize.width / 2, view.height / 2 - kMaskSize.height / 2,
          kMaskSize.width, kMaskSize.height};
}

Rect captureRect(const Rect& normalised, PixelSize resolution) {
  const double width = resolution.width;
  const double height = resolution.height;
  return {normalised.x * width, normalised.y * height, normalised.width * width,
          normalised.height * height};
}

AffineTransform overlayTransform(PixelSize resolution, Size view, bool isMirrored) {
  AffineTransform fit{0, 0, 0, 0, view.width / 2, view.height / 2};
  if (resolution.width <= 0 || resolution.height <= 0) return fit;
  const double scale = std::max(view.width / resolution.width, view.height / resolution.height);
  fit.a = isMirrored ? -scale : scale;
  fit.d = -scale;
  fit.tx -= fit.a * resolution.width / 2;
  fit.ty -= fit.d * resolution.height / 2;
  return fit;
}

}  // namespace face
}  // namespace veltrane
