#include <pixman.h>

#include <memory>

#include "platform/pictures/halving.h"
#include "platform/pictures/pixels.h"
#include "platform/pictures/scalers.h"

namespace veltrane::pictures {
namespace {

struct Free {
  void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
/// The filter looks at four pixels for one: who shrinks further leaves pixels out.
constexpr int kMaxShrinking = 2;

using Image = std::unique_ptr<pixman_image_t, Free>;

Image makeImage(const Picture& picture) {
  // pixman names what lies in a word, lowest byte last. The source is not written to.
  auto* pixels = reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(picture.pixels.data()));
  return Image(pixman_image_create_bits(PIXMAN_a8b8g8r8, picture.size.width, picture.size.height,
                                        pixels, static_cast<int>(rowBytes(picture.size))));
}

pixman_fixed_t step(int from, int to) {
  return pixman_double_to_fixed(double(from) / to);
}

bool draw(const Picture& from, Picture& to) {
  const Image source = makeImage(from);
  const Image target = makeImage(to);
  if (!source || !target) return false;
  pixman_transform_t transform;
  pixman_transform_init_scale(&transform, step(from.size.width, to.size.width),
                              step(from.size.height, to.size.height));
  if (!pixman_image_set_transform(source.get(), &transform)) return false;
  if (!pixman_image_set_filter(source.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0)) return false;
  pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
  pixman_image_composite32(PIXMAN_OP_SRC, source.get(), nullptr, target.get(), 0, 0, 0, 0, 0, 0,
                           to.size.width, to.size.height);
  return true;
}

}  // namespace

bool scaleWithPixman(const Picture& from, Picture& to) {
  return scaledAfterHalving(from, to.size, kMaxShrinking,
                            [&](const Picture& source) { return draw(source, to); });
}

}  // namespace veltrane::pictures
