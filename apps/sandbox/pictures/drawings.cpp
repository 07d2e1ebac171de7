#include "apps/sandbox/pictures/drawings.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

namespace veltrane::sandbox {
namespace {

struct Colour {
  double red, green, blue;  // 0 to 1
};

constexpr Colour rgb(unsigned value) {
  return {((value >> 16) & 0xFF) / 255.0, ((value >> 8) & 0xFF) / 255.0, (value & 0xFF) / 255.0};
}

constexpr Colour kWhite = rgb(0xFFFFFF);

/// How far a point is from a shape's edge, in points; below zero inside.
using Shape = std::function<double(double x, double y)>;
using Paint = std::function<Colour(double x, double y)>;

Shape disc(double centreX, double centreY, double radius) {
  return [=](double x, double y) { return std::hypot(x - centreX, y - centreY) - radius; };
}

Shape box(double left, double top, double right, double bottom, double corner) {
  return [=](double x, double y) {
    const double dx = std::abs(x - (left + right) / 2) - (right - left) / 2 + corner;
    const double dy = std::abs(y - (top + bottom) / 2) - (bottom - top) / 2 + corner;
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) -
           corner;
  };
}

Shape line(double fromX, double fromY, double toX, double toY, double width) {
  return [=](double x, double y) {
    const double dx = toX - fromX;
    const double dy = toY - fromY;
    const double along = ((x - fromX) * dx + (y - fromY) * dy) / (dx * dx + dy * dy);
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(x - fromX - t * dx, y - fromY - t * dy) - width / 2;
  };
}

Shape outline(const Shape& shape, double width) {
  return [=](double x, double y) { return std::abs(shape(x, y)) - width / 2; };
}

Shape without(const Shape& shape, const Shape& hole) {
  return [=](double x, double y) { return std::max(shape(x, y), -hole(x, y)); };
}

/// Everything below a wave.
Shape hill(double top, double height, double length, double phase) {
  return [=](double x, double y) {
    return (top + height * std::sin(x / length + phase) - y) / (1 + height / length);
  };
}

class Canvas {
 public:
  Canvas(int width, int height, int scale) : scale_(scale), bitmap(width * scale, height * scale) {}

  void fill(const Shape& shape, const Paint& paint) {
    for (int y = 0; y < bitmap.height; ++y) {
      for (int x = 0; x < bitmap.width; ++x) {
        const double px = (x + 0.5) / scale_;
        const double py = (y + 0.5) / scale_;
        const double cover = std::clamp(0.5 - shape(px, py) * scale_, 0.0, 1.0);
        if (cover > 0) blend(bitmap.at(x, y), paint(px, py), cover);
      }
    }
  }

  void fill(const Shape& shape, Colour colour) {
    fill(shape, [colour](double, double) { return colour; });
  }

 private:
  static void blend(std::uint8_t* pixel, Colour colour, double cover) {
    const double under = pixel[3] / 255.0 * (1 - cover);
    const double alpha = cover + under;
    const auto mix = [&](std::uint8_t& channel, double value) {
      const double mixed = (value * cover + channel / 255.0 * under) / alpha;
      channel = static_cast<std::uint8_t>(std::lround(mixed * 255));
    };
    mix(pixel[0], colour.red);
    mix(pixel[1], colour.green);
    mix(pixel[2], colour.blue);
    pixel[3] = static_cast<std::uint8_t>(std::lround(alpha * 255));
  }

  double scale_;

 public:
  Bitmap bitmap;
};

void tile(Canvas& canvas, Colour colour) {
  canvas.fill(box(0, 0, 40, 40, 10), colour);
}

void drawPhone(Canvas& canvas) {
  tile(canvas, rgb(0x1E5FD6));
  canvas.fill(box(13, 7, 27, 33, 3), kWhite);
  canvas.fill(box(15, 10, 25, 27, 1), rgb(0x1E5FD6));
  canvas.fill(disc(20, 30, 1.3), rgb(0x1E5FD6));
  canvas.fill(line(17, 18.5, 19.3, 21, 1.8), kWhite);
  canvas.fill(line(19.3, 21, 23.2, 15.8, 1.8), kWhite);
}

void drawCode(Canvas& canvas) {
  tile(canvas, rgb(0x0F766E));
  canvas.fill(outline(box(7, 13, 33, 27, 4), 2), kWhite);
  for (const double x : {12.5, 17.5, 22.5, 27.5}) canvas.fill(disc(x, 20, 1.8), kWhite);
}

void drawMail(Canvas& canvas) {
  tile(canvas, rgb(0x7C3AED));
  canvas.fill(box(8, 12, 32, 28, 3), kWhite);
  canvas.fill(line(10, 14.5, 20, 21.5, 2), rgb(0x7C3AED));
  canvas.fill(line(20, 21.5, 30, 14.5, 2), rgb(0x7C3AED));
}

void drawKey(Canvas& canvas) {
  tile(canvas, rgb(0xB45309));
  canvas.fill(without(disc(14, 20, 6.5), disc(14, 20, 2.6)), kWhite);
  canvas.fill(line(20, 20, 33, 20, 3), kWhite);
  canvas.fill(line(31.5, 20, 31.5, 25, 3), kWhite);
  canvas.fill(line(26.5, 20, 26.5, 24, 3), kWhite);
}

void drawCheck(Canvas& canvas) {
  canvas.fill(disc(20, 20, 20), rgb(0x1E5FD6));
  canvas.fill(line(11.3, 20.8, 17.4, 27.2, 3.4), kWhite);
  canvas.fill(line(17.4, 27.2, 29, 14.4, 3.4), kWhite);
}

void drawHills(Canvas& canvas) {
  canvas.fill(box(0, 0, 320, 180, 0), [](double, double y) {
    const double t = std::min(y / 130, 1.0);
    const Colour high = rgb(0x8EC5F4);
    const Colour low = rgb(0xFDF1DC);
    return Colour{high.red + (low.red - high.red) * t, high.green + (low.green - high.green) * t,
                  high.blue + (low.blue - high.blue) * t};
  });
  canvas.fill(disc(236, 56, 24), rgb(0xF6B73C));
  canvas.fill(hill(104, 22, 46, 0.6), rgb(0x6FA58D));
  canvas.fill(hill(128, 16, 34, 2.4), rgb(0x3F7F6B));
  canvas.fill(hill(152, 8, 58, 4.0), rgb(0x235347));
}

struct Recipe {
  int width;
  int height;
  void (*draw)(Canvas&);
};

const std::map<std::string, Recipe>& recipes() {
  static const std::map<std::string, Recipe> all{
      {"phone", {40, 40, drawPhone}}, {"code", {40, 40, drawCode}},
      {"mail", {40, 40, drawMail}},   {"key", {40, 40, drawKey}},
      {"check", {40, 40, drawCheck}}, {"hills", {320, 180, drawHills}}};
  return all;
}

}  // namespace

std::vector<std::string> drawingNames() {
  std::vector<std::string> names;
  for (const auto& [name, recipe] : recipes()) names.push_back(name);
  return names;
}

std::optional<Bitmap> drawing(const std::string& name, int scale) {
  const auto recipe = recipes().find(name);
  if (recipe == recipes().end()) return std::nullopt;
  Canvas canvas(recipe->second.width, recipe->second.height, scale);
  recipe->second.draw(canvas);
  return std::move(canvas.bitmap);
}

}  // namespace veltrane::sandbox
