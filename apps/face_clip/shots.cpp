#include "apps/face_clip/shots.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "platform/pictures/codec.h"

namespace veltrane::clip {
namespace {

constexpr Size kView{390, 844};
constexpr double kFaceInView = 225;
/// Above the middle of the view, in points: less is missing above the portrait.
constexpr double kRaised = 85;
constexpr double kWallZoom = 6;

/// A place along an axis: the two pixels around it, and how near the second one is.
struct Place {
  std::size_t before;
  std::size_t behind;
  double share;
};

Place placeOf(double position, int length) {
  const double inside = std::clamp(position, 0.0, length - 1.0);
  const auto before = static_cast<std::size_t>(inside);
  return {before, std::min(before + 1, static_cast<std::size_t>(length) - 1), inside - before};
}

/// Beyond an edge as in a mirror that stands there.
double mirrored(double position, double length) {
  return std::abs(std::remainder(position, 2 * length));
}

void blend(const Picture& picture, const Place& column, const Place& row, std::uint8_t* to) {
  const auto sample = [&picture](std::size_t x, std::size_t y, int channel) {
    return static_cast<double>(picture.pixels[4 * (y * picture.size.width + x) + channel]);
  };
  for (int channel = 0; channel < 4; ++channel) {
    const auto across = [&](std::size_t line) {
      return std::lerp(sample(column.before, line, channel), sample(column.behind, line, channel),
                       column.share);
    };
    to[channel] = static_cast<std::uint8_t>(
        std::lround(std::lerp(across(row.before), across(row.behind), row.share)));
  }
}

/// Pixels of a picture of this size a point of the view that it fills.
double pixelsAPoint(PixelSize size) {
  return std::min(size.width / kView.width, size.height / kView.height);
}

}  // namespace

PicturePtr readPhotograph(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  auto picture = pictures::Codec().decode(bytes);
  if (!picture) throw std::runtime_error(file.string() + " is no picture that can be read");
  return picture;
}

void writePicture(const Picture& picture, const std::filesystem::path& file) {
  const auto png = pictures::Codec().encodePNG(picture);
  std::ofstream stream(file, std::ios::binary);
  if (!png || !stream.write(png->data(), static_cast<std::streamsize>(png->size())).flush()) {
    throw std::runtime_error("cannot write " + file.string());
  }
}

Picture shot(const Picture& photograph, PixelSize size, Point at, double zoom) {
  Picture made{
      .size = size, .pixels = Pixels(std::size_t{4} * size.width * size.height), .isOpaque = true};
  std::uint8_t* to = made.pixels.data();
  for (int y = 0; y < size.height; ++y) {
    const double down = at.y + (y + 0.5 - size.height / 2.0) / zoom;
    const Place row = placeOf(mirrored(down, photograph.size.height) - 0.5, photograph.size.height);
    for (int x = 0; x < size.width; ++x, to += 4) {
      const double right = at.x + (x + 0.5 - size.width / 2.0) / zoom;
      blend(photograph, placeOf(right - 0.5, photograph.size.width), row, to);
    }
  }
  return made;
}

Picture faceShot(const Picture& portrait, PixelSize size, double aside) {
  const double point = kFaceWidth / kFaceInView;
  return shot(portrait, size, {kFace.x - aside * point, kFace.y + kRaised * point},
              pixelsAPoint(size) / point);
}

Picture wallShot(const Picture& portrait, PixelSize size) {
  return shot(portrait, size, kWall, kWallZoom * pixelsAPoint(size));
}

}  // namespace veltrane::clip
