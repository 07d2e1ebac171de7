#include <libyuv/scale_argb.h>

#include "platform/pictures/halving.h"
#include "platform/pictures/pixels.h"
#include "platform/pictures/scalers.h"

namespace veltrane::pictures {

/// The filter looks at four pixels for one: who shrinks further leaves pixels out.
constexpr int kMaxShrinking = 2;

bool scaleWithLibyuv(const Picture& from, Picture& to) {
  return scaledAfterHalving(from, to.size, kMaxShrinking, [&](const Picture& source) {
    // The names count bytes from the other end; to the filter one channel is as good as another.
    return libyuv::ARGBScale(source.pixels.data(), static_cast<int>(rowBytes(source.size)),
                             source.size.width, source.size.height, to.pixels.data(),
                             static_cast<int>(rowBytes(to.size)), to.size.width, to.size.height,
                             libyuv::kFilterBox) == 0;
  });
}

}  // namespace veltrane::pictures
