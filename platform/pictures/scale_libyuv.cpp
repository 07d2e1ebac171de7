#include <libyuv/scale_argb.h>

#include <cstring>

#include "platform/pictures/halving.h"
#include "platform/pictures/pixels.h"
#include "platform/pictures/scalers.h"

namespace veltrane::pictures {
namespace {

/// The filter looks at four pixels for one: who shrinks further leaves pixels out.
constexpr int kMaxShrinking = 2;

/// The weights of the library's filter add up to a little less than one, for alpha as for colours.
void makeOpaque(Picture& picture) {
  constexpr std::uint8_t kAlpha[] = {0, 0, 0, 255};
  std::uint32_t alpha = 0;
  std::memcpy(&alpha, kAlpha, sizeof alpha);
  std::uint8_t* const end = picture.pixels.data() + picture.pixels.size();
  for (std::uint8_t* at = picture.pixels.data(); at < end; at += sizeof alpha) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, at, sizeof pixel);
    pixel |= alpha;
    std::memcpy(at, &pixel, sizeof pixel);
  }
}

/// The library's names count bytes from the other end; to its filter one channel is as good as
/// another.
bool scale(const Picture& from, Picture& to) {
  const bool isScaled =
      libyuv::ARGBScale(from.pixels.data(), static_cast<int>(rowBytes(from.size)), from.size.width,
                        from.size.height, to.pixels.data(), static_cast<int>(rowBytes(to.size)),
                        to.size.width, to.size.height, libyuv::kFilterBox) == 0;
  if (isScaled && from.isOpaque) makeOpaque(to);
  return isScaled;
}

}  // namespace

bool scaleWithLibyuv(const Picture& from, Picture& to) {
  return scaledAfterHalving(from, to.size, kMaxShrinking,
                            [&](const Picture& source) { return scale(source, to); });
}

}  // namespace veltrane::pictures
