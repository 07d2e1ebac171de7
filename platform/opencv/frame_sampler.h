#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "veltrane/face/face_geometry.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane::opencv {

/// A square of a frame's upright picture that a network is to look at, in pixels of that picture,
/// origin at the upper left. May reach over the edges.
struct Square {
  Point middle;
  double side = 0;
  /// Clockwise, in radians: by how much what stands upright in the square leans in the picture.
  double angle = 0;
};

/// From a square network input with `input` pixels a side to the upright picture.
AffineTransform transformOf(const Square& square, int input);

/// `inner` first, then `outer`.
AffineTransform chained(const AffineTransform& inner, const AffineTransform& outer);

/// The pixels that a network needs to look at a square, as few of them as will do: an 8K frame is
/// not converted as a whole.
class FrameSampler {
 public:
  struct Sample {
    /// Red, green, blue and a byte that counts for nothing, without gaps. The sampler's own, until
    /// the next call.
    const std::uint8_t* pixels = nullptr;
    PixelSize size;
    /// From the network's input to these pixels.
    AffineTransform map;
  };

  FrameSampler() = default;
  ~FrameSampler();
  FrameSampler(const FrameSampler&) = delete;
  FrameSampler& operator=(const FrameSampler&) = delete;

  /// Nothing when the square lies outside the frame, or is none.
  std::optional<Sample> sample(const PixelBuffer& frame, const Square& square, int input);

 private:
  struct Region;
  void shrink(const PixelBuffer& frame, const Region& region, PixelSize size);

  std::vector<std::uint32_t> pixels_;
  std::vector<std::uint32_t> row_;
  std::vector<std::uint16_t> sums_;
};

}  // namespace veltrane::opencv
