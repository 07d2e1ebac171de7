#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "veltrane/toolkit/picture.h"

namespace veltrane {

/// How a camera's pixels lie in memory. Eight bits a sample.
enum class PixelFormat : std::uint8_t {
  nv12,  ///< 4:2:0 bi-planar: luma; then blue and red difference in turn, at half width and height
  i420,  ///< 4:2:0 in three planes: luma, blue difference, red difference
  yuy2,  ///< 4:2:2 in one plane: luma, blue difference, luma, red difference
  rgb,   ///< red, green, blue
  bgra,  ///< blue, green, red, and a byte that counts for nothing: cameras know no transparency
};

/// How luma and colour differences become red, green and blue.
enum class ColorMatrix : std::uint8_t { bt601, bt709 };
/// Whether luma goes from 16 to 235 and differences from 16 to 240, or both from 0 to 255.
enum class ColorRange : std::uint8_t { video, full };

/// How far clockwise pixels have to be turned for the picture to be upright.
enum class Turn : std::uint8_t { none, quarter, half, threeQuarters };

struct PixelPlane {
  const std::uint8_t* data = nullptr;
  /// Bytes from one row to the next; below zero when the rows lie from bottom to top.
  std::ptrdiff_t stride = 0;
};

/// One picture of a camera. The pixels do not change for as long as the buffer lives,
/// which may be longer than the camera does; any thread.
///
/// A camera makes one around memory that it owns, with `memory` to keep or give it back, or lets
/// `allocate` own the memory, which is then wiped when the last handle goes. Only the camera can
/// wipe memory of its own; it is asked to, for a person's face is in it.
struct PixelBuffer {
  /// Planes that a format has.
  static constexpr std::size_t kMostPlanes = 3;

  PixelFormat format = PixelFormat::nv12;
  /// Of the pixels as they lie there, before any turning.
  PixelSize size;
  PixelPlane planes[kMostPlanes];
  ColorMatrix matrix = ColorMatrix::bt601;
  ColorRange range = ColorRange::video;
  /// By how the camera is built in and how the device is held at this moment.
  Turn turn = Turn::none;
  /// What the planes point into.
  std::shared_ptr<const void> memory;

  /// A size that can be borne and all planes, with strides that fit the rows of this width.
  bool isSound() const;
  /// The picture's size once it is upright.
  PixelSize uprightSize() const;

  /// Rows of a plane, and the bytes that count in each.
  PixelSize planeSize(std::size_t plane) const;
  std::size_t planeCount() const;

  struct Writable;
  /// A buffer of its own with `extra` unused bytes after each row; wiped when it goes. The size has
  /// to be bearable.
  static Writable allocate(PixelFormat format, PixelSize size, std::size_t extra = 0);
};

using PixelBufferPtr = std::shared_ptr<const PixelBuffer>;

/// A buffer while it is filled: `planes[i]` are those of the buffer.
struct PixelBuffer::Writable {
  std::shared_ptr<PixelBuffer> buffer;
  std::uint8_t* planes[kMostPlanes] = {};
};

}  // namespace veltrane
