#pragma once

#include "veltrane/base/wipe.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures {

/// For scalers that cannot shrink a picture by much at once. Halves it, by the mean of pixels,
/// while a side is more than `limit` times as long as it is to be; calls `scale` with the picture
/// at that point, which is `from` itself when it was not too large.
template <typename Scale>
bool scaledAfterHalving(const Picture& from, PixelSize to, int limit, const Scale& scale);

/// The picture with half the columns or half the rows, or both; an odd one out is kept.
Picture halved(const Picture& from, bool columns, bool rows);

template <typename Scale>
bool scaledAfterHalving(const Picture& from, PixelSize to, int limit, const Scale& scale) {
  const bool columns = from.size.width > limit * to.width;
  const bool rows = from.size.height > limit * to.height;
  if (!columns && !rows) return scale(from);
  Picture half = halved(from, columns, rows);
  const bool isScaled = scaledAfterHalving(half, to, limit, scale);
  wipe(half.pixels.data(), half.pixels.size());
  return isScaled;
}

}  // namespace veltrane::pictures
