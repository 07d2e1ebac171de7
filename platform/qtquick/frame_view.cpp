#include "platform/qtquick/frame_view.h"

#include <algorithm>
#include <cmath>

#include "platform/qtquick/frame_scaling.h"
#include "veltrane/face/frame_picture.h"

namespace veltrane::qtquick {
namespace {

bool lies(Turn turn) {
  return turn == Turn::quarter || turn == Turn::threeQuarters;
}

/// A part of the upright picture as it lies in the frame's memory. `upright`: size of the picture.
QRectF inMemory(const QRectF& part, QSizeF upright, Turn turn) {
  const double right = upright.width() - part.x() - part.width();
  const double below = upright.height() - part.y() - part.height();
  switch (turn) {
    case Turn::none:
      return part;
    case Turn::quarter:
      return {part.y(), right, part.height(), part.width()};
    case Turn::half:
      return {right, below, part.width(), part.height()};
    case Turn::threeQuarters:
      return {below, part.x(), part.height(), part.width()};
  }
  return part;
}

Turn opposite(Turn turn) {
  if (turn == Turn::quarter) return Turn::threeQuarters;
  return turn == Turn::threeQuarters ? Turn::quarter : turn;
}

/// From even places on, so that colour samples stay with their pixels; at least a pixel.
FramePart evenPart(const QRectF& wanted, PixelSize frame) {
  const auto span = [](double from, double to, int length) {
    const int first = std::clamp(static_cast<int>(std::floor(from)), 0, length - 1) & ~1;
    const int end = std::clamp(static_cast<int>(std::ceil(to)), first + 1, length);
    return std::pair(first, std::min(length, end + (end - first) % 2) - first);
  };
  const auto [x, width] = span(wanted.left(), wanted.right(), frame.width);
  const auto [y, height] = span(wanted.top(), wanted.bottom(), frame.height);
  return {x, y, {width, height}};
}

/// How many pixels are to be made of so many of the frame.
int pixelsFor(int length, double scale, bool enlarges) {
  if (scale >= 1 && !enlarges) return length;
  return std::max(2, static_cast<int>(std::lround(length * scale / 2)) * 2);
}

/// A mirror image is the picture upside down, turned by half.
void mirror(PixelBuffer& frame) {
  for (std::size_t i = 0; i < frame.planeCount(); ++i) {
    PixelPlane& plane = frame.planes[i];
    plane.data += (frame.planeSize(i).height - 1) * plane.stride;
    plane.stride = -plane.stride;
  }
  if (!lies(frame.turn)) frame.turn = frame.turn == Turn::none ? Turn::half : Turn::none;
}

}  // namespace

FrameView frameViewOf(const PixelBuffer& frame, const FrameViewOptions& options) {
  if (!frame.isSound() || options.view.isEmpty()) return {};
  const PixelSize size = frame.uprightSize();
  const QSizeF upright(size.width, size.height);
  const double scale =
      std::max(options.view.width() / upright.width(), options.view.height() / upright.height());
  QRectF seen(QPointF(0, 0), options.view / scale);
  seen.moveCenter({upright.width() / 2, upright.height() / 2});

  const FramePart part = evenPart(inMemory(seen, upright, frame.turn), frame.size);
  const double pixels = scale * options.density;
  PixelBuffer drawn = scaled(frame, part,
                             {pixelsFor(part.size.width, pixels, options.enlarges),
                              pixelsFor(part.size.height, pixels, options.enlarges)});
  if (options.isMirrored) mirror(drawn);

  const QSizeF memory(frame.size.width, frame.size.height);
  const QRectF shown = inMemory(QRectF(part.x, part.y, part.size.width, part.size.height), memory,
                                opposite(frame.turn));
  const double left = options.isMirrored ? upright.width() - shown.right() : shown.left();
  return {face::pictureFrom(drawn),
          {options.view.width() / 2 + (left - upright.width() / 2) * scale,
           options.view.height() / 2 + (shown.top() - upright.height() / 2) * scale,
           shown.width() * scale, shown.height() * scale}};
}

}  // namespace veltrane::qtquick
