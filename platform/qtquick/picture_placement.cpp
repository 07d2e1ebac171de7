#include "platform/qtquick/picture_placement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace veltrane::qtquick {
namespace {

using Pixel = std::array<std::uint8_t, Picture::kBytesAPixel>;

/// A code has at least as many modules a side, and none is drawn that large.
constexpr int kSmallestCode = 21;
constexpr int kLargestCode = 2048;
constexpr int kDark = 128;

/// Brightness over white.
int brightness(const Pixel& pixel) {
  const int white = 255 - pixel[3];
  return (pixel[0] + pixel[1] + pixel[2]) / 3 + white;
}

QRectF centred(QSizeF size, QSizeF room) {
  return {QPointF((room.width() - size.width()) / 2, (room.height() - size.height()) / 2), size};
}

QRectF onWholePixels(const QRectF& rect, double density) {
  const auto snap = [density](double value) { return std::round(value * density) / density; };
  return {QPointF(snap(rect.left()), snap(rect.top())),
          QPointF(snap(rect.right()), snap(rect.bottom()))};
}

/// All of the picture, before it is cut to the room.
QSizeF drawnSize(const ImageView& view, QSizeF own, QSizeF room) {
  switch (view.contentMode.value_or(ContentMode::aspectFit)) {
    case ContentMode::scaleToFill:
      return room;
    case ContentMode::aspectFit:
      return own.scaled(room, Qt::KeepAspectRatio);
    case ContentMode::aspectFill:
      return own.scaled(room, Qt::KeepAspectRatioByExpanding);
    case ContentMode::center:
      return own / std::max(view.scale, 1.0);
  }
  return room;
}

/// The largest multiple of the picture's pixels that fits; nothing when not even one does.
QSizeF wholeMultiple(QSizeF own, QSizeF fitting, double density) {
  const double times = std::floor(fitting.width() * density / own.width());
  return times >= 1 ? own * times / density : QSizeF();
}

}  // namespace

QSize Placement::onScreen(double density) const {
  return (target.size() * density).toSize();
}

Placement placementOf(const ImageView& view, QSizeF room, double density) {
  if (!view.image || room.isEmpty()) return {};
  const QSizeF own(view.image->size.width, view.image->size.height);
  QSizeF size = drawnSize(view, own, room);
  Placement placement;
  const bool fits = view.contentMode.value_or(ContentMode::aspectFit) == ContentMode::aspectFit;
  if (fits) {
    // Looked at pixel by pixel only where it makes a difference.
    const QSizeF whole = wholeMultiple(own, size, density);
    placement.crisp = !whole.isEmpty() && isCode(*view.image);
    if (placement.crisp) size = whole;
  }
  const QRectF all = centred(size, room);
  const QRectF seen = all.intersected(QRectF(QPointF(0, 0), room));
  placement.target = onWholePixels(seen, density);
  const double across = own.width() / all.width();
  const double down = own.height() / all.height();
  placement.source = QRectF((seen.left() - all.left()) * across, (seen.top() - all.top()) * down,
                            seen.width() * across, seen.height() * down);
  return placement;
}

bool isCode(const Picture& picture) {
  const auto [width, height] = picture.size;
  if (width != height || width < kSmallestCode || width > kLargestCode) return false;
  const auto at = [&](std::size_t offset) {
    Pixel pixel;
    std::memcpy(pixel.data(), picture.pixels.data() + offset, pixel.size());
    return pixel;
  };
  const Pixel first = at(0);
  Pixel second = first;
  for (std::size_t i = 0; i < picture.pixels.size(); i += Picture::kBytesAPixel) {
    const Pixel pixel = at(i);
    if (pixel == first || pixel == second) continue;
    if (second != first) return false;
    second = pixel;
  }
  return (brightness(first) < kDark) != (brightness(second) < kDark);
}

}  // namespace veltrane::qtquick
