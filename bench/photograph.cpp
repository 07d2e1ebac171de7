#include "bench/photograph.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace veltrane::bench {
namespace {

constexpr int kColors = 3;

/// Three colours a pixel.
struct Plane {
  PixelSize size;
  std::vector<double> values;

  explicit Plane(PixelSize size)
      : size(size), values(static_cast<std::size_t>(kColors * size.width) * size.height) {}
  double& at(int x, int y, int color) { return values[index(x, y, color)]; }
  double at(int x, int y, int color) const { return values[index(x, y, color)]; }

 private:
  std::size_t index(int x, int y, int color) const {
    return (static_cast<std::size_t>(y) * size.width + x) * kColors + color;
  }
};

class Random {
 public:
  /// Between -1 and 1.
  double signedValue() { return (static_cast<int>(engine_() % 2001) - 1000) / 1000.0; }
  int below(int end) { return static_cast<int>(engine_() % static_cast<unsigned>(end)); }

 private:
  std::mt19937 engine_{7};
};

/// Random values `cell` pixels apart, and straight lines between them.
void addNoise(Plane& plane, int cell, double strength, Random& random) {
  Plane grid({plane.size.width / cell + 2, plane.size.height / cell + 2});
  for (double& value : grid.values) value = strength * random.signedValue();
  for (int y = 0; y < plane.size.height; ++y) {
    const double down = y % cell / double(cell);
    for (int x = 0; x < plane.size.width; ++x) {
      const double right = x % cell / double(cell);
      for (int c = 0; c < kColors; ++c) {
        const auto mixed = [&](int row) {
          return std::lerp(grid.at(x / cell, row, c), grid.at(x / cell + 1, row, c), right);
        };
        plane.at(x, y, c) += std::lerp(mixed(y / cell), mixed(y / cell + 1), down);
      }
    }
  }
}

void addDisc(Plane& plane, Random& random) {
  const int centerX = random.below(plane.size.width);
  const int centerY = random.below(plane.size.height);
  const int radius = 20 + random.below(150);
  double color[kColors];
  for (double& value : color) value = 80 * random.signedValue();
  for (int y = std::max(0, centerY - radius); y < std::min(plane.size.height, centerY + radius);
       ++y) {
    for (int x = std::max(0, centerX - radius); x < std::min(plane.size.width, centerX + radius);
         ++x) {
      if (std::hypot(x - centerX, y - centerY) >= radius) continue;
      for (int c = 0; c < kColors; ++c) plane.at(x, y, c) += color[c];
    }
  }
}

struct Weight {
  int source;
  double value;
};

double lanczos(double x) {
  if (x == 0) return 1;
  const double angle = std::numbers::pi * x;
  return std::abs(x) >= 3 ? 0 : 3 * std::sin(angle) * std::sin(angle / 3) / (angle * angle);
}

/// What each place of the target takes from the source.
std::vector<std::vector<Weight>> weights(int from, int to) {
  const double scale = double(from) / to;
  std::vector<std::vector<Weight>> all(static_cast<std::size_t>(to));
  for (int target = 0; target < to; ++target) {
    auto& own = all[static_cast<std::size_t>(target)];
    const double center = (target + 0.5) * scale;
    double sum = 0;
    for (int i = int(std::floor(center - 3 * scale)); i <= center + 3 * scale; ++i) {
      own.push_back({std::clamp(i, 0, from - 1), lanczos((i + 0.5 - center) / scale)});
      sum += own.back().value;
    }
    for (Weight& weight : own) weight.value /= sum;
  }
  return all;
}

Plane shrunk(const Plane& from, PixelSize size) {
  Plane narrow({size.width, from.size.height});
  Plane result(size);
  const auto columns = weights(from.size.width, size.width);
  const auto rows = weights(from.size.height, size.height);
  for (int y = 0; y < narrow.size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      for (const auto& [source, weight] : columns[std::size_t(x)]) {
        for (int c = 0; c < kColors; ++c) narrow.at(x, y, c) += weight * from.at(source, y, c);
      }
    }
  }
  for (int y = 0; y < size.height; ++y) {
    for (const auto& [source, weight] : rows[std::size_t(y)]) {
      for (int x = 0; x < size.width; ++x) {
        for (int c = 0; c < kColors; ++c) result.at(x, y, c) += weight * narrow.at(x, source, c);
      }
    }
  }
  return result;
}

Plane planeOf(const Picture& picture) {
  Plane plane(picture.size);
  for (std::size_t i = 0; i < plane.values.size(); ++i) {
    plane.values[i] = picture.pixels[i / kColors * Picture::kBytesAPixel + i % kColors];
  }
  return plane;
}

}  // namespace

Picture photograph(PixelSize size) {
  Random random;
  Plane plane(size);
  double strength = 90;
  for (int cell = 256; cell >= 2; cell /= 2, strength *= 0.55) {
    addNoise(plane, cell, strength, random);
  }
  for (int i = 0; i < 40; ++i) addDisc(plane, random);
  Picture picture{.size = size, .isOpaque = true};
  for (std::size_t i = 0; i < plane.values.size(); ++i) {
    picture.pixels.push_back(
        static_cast<std::uint8_t>(std::clamp(128 + plane.values[i], 0.0, 255.0)));
    if (i % kColors == kColors - 1) picture.pixels.push_back(255);
  }
  return picture;
}

double quality(const Picture& original, const Picture& scaled) {
  const Plane ideal = shrunk(planeOf(original), scaled.size);
  const Plane ours = planeOf(scaled);
  double sum = 0;
  for (std::size_t i = 0; i < ours.values.size(); ++i) {
    sum += std::pow(std::clamp(ideal.values[i], 0.0, 255.0) - ours.values[i], 2);
  }
  return 10 * std::log10(255.0 * 255.0 * double(ours.values.size()) / sum);
}

}  // namespace veltrane::bench
