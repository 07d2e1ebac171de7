#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace veltrane {

struct PixelSize {
  int width = 0;
  int height = 0;

  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// Memory whose elements are left as they are until something is written to them: whoever makes a
/// picture fills it, and filling it twice shows.
template <typename T>
struct UnwrittenAllocator : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = UnwrittenAllocator<U>;
  };
  template <typename U, typename... Arguments>
  void construct(U* at, Arguments&&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
      ::new (static_cast<void*>(at)) U;
    } else {
      ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
    }
  }
};

using Pixels = std::vector<std::uint8_t, UnwrittenAllocator<std::uint8_t>>;

/// A decoded picture, upright. Four bytes a pixel (red, green, blue, alpha; colours premultiplied
/// with alpha), rows from top to bottom without gaps.
struct Picture {
  PixelSize size;
  Pixels pixels;
  /// Every alpha is 255.
  bool isOpaque = false;

  static constexpr std::size_t kBytesAPixel = 4;
  /// Pixels beyond which a picture is refused, decoded or scaled: 256 MiB.
  static constexpr std::int64_t kMaxPixels = std::int64_t{64} << 20;
};

/// Pictures are never changed once made, so threads may share them.
using PicturePtr = std::shared_ptr<const Picture>;

/// Whether a picture of this size may be held in memory.
constexpr bool isBearable(PixelSize size) {
  return size.width > 0 && size.height > 0 &&
         std::int64_t{size.width} * size.height <= Picture::kMaxPixels;
}

}  // namespace veltrane
