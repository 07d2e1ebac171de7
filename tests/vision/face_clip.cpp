#include "tests/vision/face_clip.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>
#include <stdexcept>

#include "platform/pictures/codec.h"

namespace veltrane::testing {
namespace {

constexpr int kColors = 3;

/// A face in its photograph: its box, and the ellipse around the head that is cut out.
struct Portrait {
  const char* name;
  Point middle;
  double side;
  Point head;
  double headWidth, headHeight;
};
constexpr Portrait kPortraits[kFaces] = {
    {"astronaut.png", {225, 131}, 94, {226, 118}, 150, 190},
    {"grace_hopper.jpg", {264, 246}, 190, {264, 225}, 270, 330},
};
constexpr const char* kSceneNames[kScenes] = {"coffee.png", "chelsea.png", "coins.png",
                                              "brick.png",  "grass.png",   "gravel.png",
                                              "moon.png",   "rocket.jpg",  "motorcycle_left.png"};
/// Of the head's radius: from here on it fades into what is behind it.
constexpr double kSolid = 0.85;

std::size_t offset(PixelSize size, int x, int y) {
  return (static_cast<std::size_t>(y) * size.width + x) * kColors;
}

/// Between pixels; as at the edge outside.
std::array<double, kColors> colorAt(const Canvas& from, double x, double y) {
  x = std::clamp(x - 0.5, 0.0, from.size.width - 1.0);
  y = std::clamp(y - 0.5, 0.0, from.size.height - 1.0);
  const int left = std::min(static_cast<int>(x), std::max(from.size.width - 2, 0));
  const int top = std::min(static_cast<int>(y), std::max(from.size.height - 2, 0));
  const int right = std::min(left + 1, from.size.width - 1);
  const int bottom = std::min(top + 1, from.size.height - 1);
  std::array<double, kColors> color;
  for (int c = 0; c < kColors; ++c) {
    const double above = std::lerp(from.rgb[offset(from.size, left, top) + c],
                                   from.rgb[offset(from.size, right, top) + c], x - left);
    const double below = std::lerp(from.rgb[offset(from.size, left, bottom) + c],
                                   from.rgb[offset(from.size, right, bottom) + c], x - left);
    color[c] = std::lerp(above, below, y - top);
  }
  return color;
}

/// Smaller by two, so that little is lost when it is shrunk further.
Canvas halved(const Canvas& from) {
  Canvas small{{from.size.width / 2, from.size.height / 2}, {}};
  for (int y = 0; y < small.size.height; ++y) {
    for (int x = 0; x < small.size.width; ++x) {
      for (const double value : colorAt(from, 2 * x + 1, 2 * y + 1)) {
        small.rgb.push_back(static_cast<std::uint8_t>(std::lround(value)));
      }
    }
  }
  return small;
}

/// A photograph, and by how much it has been made smaller.
std::pair<const Canvas&, double> shrunk(const std::string& name, double scale) {
  static std::map<std::pair<std::string, int>, Canvas> kept;
  int steps = 0;
  for (; scale <= 0.5; scale *= 2) ++steps;
  const Canvas* canvas = &photograph(name);
  for (int step = 1; step <= steps; ++step) {
    auto [at, isNew] = kept.try_emplace({name, step});
    if (isNew) at->second = halved(*canvas);
    canvas = &at->second;
  }
  return {*canvas, std::exp2(-steps)};
}

/// For each byte: what comes back of that light. Light adds up after the camera's curve is undone.
std::array<double, 256> curveOf(double reflection) {
  std::array<double, 256> curve;
  for (int i = 0; i < 256; ++i) {
    curve[i] = 255 * std::pow(std::min(1.0, reflection * std::pow(i / 255.0, 2.2)), 1 / 2.2);
  }
  return curve;
}

/// A mean over each byte's neighbours along rows or columns.
void blurAlong(Canvas& canvas, int radius, bool isAlongRows) {
  const int length = isAlongRows ? canvas.size.width : canvas.size.height;
  const int lines = isAlongRows ? canvas.size.height : canvas.size.width;
  std::vector<int> line(static_cast<std::size_t>(length));
  for (int i = 0; i < lines; ++i) {
    for (int c = 0; c < kColors; ++c) {
      const auto at = [&](int j) -> std::uint8_t& {
        return canvas.rgb[offset(canvas.size, isAlongRows ? j : i, isAlongRows ? i : j) + c];
      };
      for (int j = 0; j < length; ++j) line[j] = at(j);
      for (int j = 0; j < length; ++j) {
        int sum = 0;
        for (int k = j - radius; k <= j + radius; ++k) sum += line[std::clamp(k, 0, length - 1)];
        at(j) = static_cast<std::uint8_t>(sum / (2 * radius + 1));
      }
    }
  }
}

}  // namespace

const Canvas& photograph(const std::string& name) {
  static std::map<std::string, Canvas> kept;
  const auto [at, isNew] = kept.try_emplace(name);
  if (!isNew) return at->second;
  const char* const folder = std::getenv("VELTRANE_PHOTOGRAPHS");
  std::ifstream file((folder ? std::string(folder) : std::string()) + "/" + name);
  std::stringstream bytes;
  bytes << file.rdbuf();
  const PicturePtr picture = pictures::Codec().decode(bytes.str());
  if (!picture) {
    throw std::runtime_error("no photograph " + name +
                             ": VELTRANE_PHOTOGRAPHS has to name the "
                             "folder that scripts/fetch-photographs.sh prints");
  }
  at->second.size = picture->size;
  for (std::size_t i = 0; i < picture->pixels.size(); i += Picture::kBytesAPixel) {
    const auto* pixel = picture->pixels.data() + i;
    at->second.rgb.insert(at->second.rgb.end(), pixel, pixel + kColors);
  }
  return at->second;
}

Canvas scene(Random& random, PixelSize size) {
  const std::string name = kSceneNames[random.below(kScenes)];
  const Canvas& whole = photograph(name);
  // Pixels of the scene for one of the photograph.
  const double least =
      double(std::max(size.width, size.height)) / std::min(whole.size.width, whole.size.height);
  const double scale = random.between(0.5, 1.5) * least;
  const double angle = random.between(0, 2 * std::numbers::pi);
  const auto [from, reduction] = shrunk(name, scale);
  const double step = reduction / scale;
  const double cosine = step * std::cos(angle);
  const double sine = step * std::sin(angle);
  const double x0 = random.between(0.25, 0.75) * from.size.width;
  const double y0 = random.between(0.25, 0.75) * from.size.height;
  Canvas canvas{size, {}};
  canvas.rgb.reserve(offset(size, 0, size.height));
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double right = x - size.width / 2.0;
      const double down = y - size.height / 2.0;
      // What lies outside of a photograph is its mirror's image.
      const auto folded = [](double value, double end) {
        value = std::abs(value);
        while (value > end) value = std::abs(2 * end - value);
        return value;
      };
      const auto color = colorAt(from, folded(x0 + cosine * right - sine * down, from.size.width),
                                 folded(y0 + sine * right + cosine * down, from.size.height));
      for (const double value : color) canvas.rgb.push_back(static_cast<std::uint8_t>(value));
    }
  }
  return canvas;
}

void drawFace(Canvas& canvas, std::size_t face, const Pose& pose, const Tone& tone) {
  const Portrait& portrait = kPortraits[face];
  const double scale = pose.side / portrait.side;
  const auto [from, reduction] = shrunk(portrait.name, scale);
  std::array<std::array<double, 256>, kColors> curves;
  for (int c = 0; c < kColors; ++c) curves[c] = curveOf(tone[c]);
  const double reach = portrait.headHeight * scale;
  const auto within = [](double value, int end) {
    return static_cast<int>(std::clamp(value, 0.0, double(end)));
  };
  const double cosine = std::cos(pose.angle) / scale;
  const double sine = std::sin(pose.angle) / scale;
  for (int y = within(pose.middle.y - reach, canvas.size.height);
       y < within(pose.middle.y + reach, canvas.size.height); ++y) {
    for (int x = within(pose.middle.x - reach, canvas.size.width);
         x < within(pose.middle.x + reach, canvas.size.width); ++x) {
      const double right = x + 0.5 - pose.middle.x;
      const double down = y + 0.5 - pose.middle.y;
      const double across = cosine * right + sine * down;
      const double u = portrait.middle.x + (pose.isMirrored ? -across : across);
      const double v = portrait.middle.y - sine * right + cosine * down;
      const double distance = std::hypot((u - portrait.head.x) / (portrait.headWidth / 2),
                                         (v - portrait.head.y) / (portrait.headHeight / 2));
      const double part = std::clamp((1 - distance) / (1 - kSolid), 0.0, 1.0);
      if (part == 0) continue;
      const auto color = colorAt(from, u * reduction, v * reduction);
      for (int c = 0; c < kColors; ++c) {
        auto& to = canvas.rgb[offset(canvas.size, x, y) + c];
        to = static_cast<std::uint8_t>(
            std::lerp(double(to), curves[c][static_cast<std::size_t>(color[c])], part));
      }
    }
  }
}

void expose(Canvas& canvas, const Light& light) {
  if (light.blur > 0) {
    blurAlong(canvas, light.blur, true);
    blurAlong(canvas, light.blur, false);
  }
  if (light.gain == 1) return;
  for (auto& value : canvas.rgb) {
    value = static_cast<std::uint8_t>(std::min(255.0, light.gain * value));
  }
}

std::vector<Canvas> heldScene(unsigned seed) {
  Random random(seed);
  std::vector<Canvas> frames(4, scene(random));
  for (Canvas& frame : frames) expose(frame, anyLight(random));
  return frames;
}

Pose poseInOval(Random& random) {
  const double scale = kClipView.height / kClipSize.height;
  const double side = random.between(0.4, 0.95) * face::kMaskSize.width / scale;
  const double right = (face::kMaskSize.width / scale - side) / 2;
  const double down = (face::kMaskSize.height / scale - side) / 2;
  return {.middle = {kClipSize.width / 2.0 + random.between(-right, right),
                     kClipSize.height / 2.0 + random.between(-down, down)},
          .side = side,
          .angle = random.between(-0.35, 0.35),
          .isMirrored = random.coin()};
}

Light anyLight(Random& random) {
  return {.gain = random.between(0.35, 1.3), .blur = static_cast<int>(random.below(3))};
}

Rect boxOf(const Pose& pose, PixelSize size) {
  return {(pose.middle.x - pose.side / 2) / size.width,
          1 - (pose.middle.y + pose.side / 2) / size.height, pose.side / size.width,
          pose.side / size.height};
}

bool liesInOval(const Rect& box, PixelSize size) {
  const auto inView =
      face::overlayTransform(size, kClipView, true).apply(face::captureRect(box, size));
  return face::ovalRectIn(kClipView).contains(inView);
}

}  // namespace veltrane::testing
