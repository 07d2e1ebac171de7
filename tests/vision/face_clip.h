#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "veltrane/face/face_geometry.h"
#include "veltrane/face/face_vision.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane::testing {

// Photographs of faces, moved, turned, scaled, dimmed and blurred over photographs of other things,
// so that it is known where the face is. The same each time.

/// Numbers that are the same with every standard library.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  double between(double low, double high) { return low + (high - low) * engine_() / 0x1p32; }
  std::size_t below(std::size_t end) { return engine_() % end; }
  bool coin() { return engine_() % 2 == 0; }

 private:
  std::mt19937 engine_;
};

/// Red, green and blue of a picture, upright.
struct Canvas {
  PixelSize size;
  std::vector<std::uint8_t> rgb;
};

/// Of a phone that is held upright, as large as the tests can afford.
inline constexpr PixelSize kClipSize{270, 480};
/// The view that it fills.
inline constexpr Size kClipView{390, 844};

/// How light that falls on a face comes back, for red, green and blue; 1 is as in the photograph.
using Tone = std::array<double, 3>;
inline constexpr Tone kAsItIs{1, 1, 1};
inline constexpr Tone kTones[] = {
    {1.5, 1.4, 1.35}, {0.65, 0.55, 0.47}, {0.40, 0.30, 0.23}, {0.22, 0.15, 0.11}};

/// Where a face is in a picture: its box, from ear to ear and from the brows to the chin, and how
/// it leans, clockwise.
struct Pose {
  Point middle;
  double side = 0;
  double angle = 0;
  bool isMirrored = false;
};

/// What a camera does to all of a picture.
struct Light {
  double gain = 1;
  /// Pixels on each side that one is mixed with.
  int blur = 0;
};

inline constexpr std::size_t kFaces = 2;
inline constexpr std::size_t kScenes = 9;

/// A part of a photograph without a face, turned and enlarged at random.
Canvas scene(Random& random, PixelSize size = kClipSize);
/// One of the two faces put into a picture.
void drawFace(Canvas& canvas, std::size_t face, const Pose& pose, const Tone& tone = kAsItIs);
void expose(Canvas& canvas, const Light& light);

/// Four frames of a scene without a face, in light that changes.
std::vector<Canvas> heldScene(unsigned seed);

/// Anywhere in the oval, as large as it can be or less than half of that, leaning a little.
Pose poseInOval(Random& random);
Light anyLight(Random& random);

/// The box of a pose, normalised, as vision tells it.
Rect boxOf(const Pose& pose, PixelSize size = kClipSize);
/// Whether the screen would take the picture.
bool liesInOval(const Rect& box, PixelSize size = kClipSize);

/// The picture as a camera's, `extra` bytes longer a row than it needs to be.
PixelBufferPtr frameOf(const Canvas& canvas, PixelFormat format = PixelFormat::rgb,
                       Turn turn = Turn::none, std::size_t extra = 0);

/// A photograph by its name, from the folder that the environment names.
const Canvas& photograph(const std::string& name);

}  // namespace veltrane::testing
