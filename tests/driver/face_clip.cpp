#include "tests/driver/face_clip.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "apps/face_clip/shots.h"

namespace veltrane::testing {
namespace {

constexpr PixelSize kSize{360, 640};
constexpr double kAside = 95;

std::filesystem::path fetched(const std::string& name) {
  const std::string command = "'" FETCH_PHOTOGRAPHS "' " + name;
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
  std::string folder;
  std::array<char, 4096> part{};
  while (output && std::fgets(part.data(), part.size(), output.get())) folder += part.data();
  if (!folder.ends_with('\n')) throw std::runtime_error("the photograph cannot be had: " + name);
  folder.pop_back();
  return std::filesystem::path(folder) / name;
}

/// One of a picture's planes of a YUV4MPEG2 file, at full range: colours in tenths of a thousandth.
void writePlane(std::ostream& out, const Picture& picture, int step, std::array<int, 4> weights) {
  for (int y = 0; y < picture.size.height; y += step) {
    for (int x = 0; x < picture.size.width; x += step) {
      const auto* const at = picture.pixels.data() + 4 * (y * picture.size.width + x);
      const int sum = weights[0] * at[0] + weights[1] * at[1] + weights[2] * at[2];
      out.put(static_cast<char>(weights[3] + sum / 10000));
    }
  }
}

void writeFrame(std::ostream& out, const Picture& picture) {
  out << "FRAME\n";
  writePlane(out, picture, 1, {2990, 5870, 1140, 0});
  writePlane(out, picture, 2, {-1687, -3313, 5000, 128});
  writePlane(out, picture, 2, {5000, -4187, -813, 128});
}

}  // namespace

const Picture& portrait() {
  static const PicturePtr picture = clip::readPhotograph(fetched(clip::kPortrait));
  return *picture;
}

void writeClip(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  clip::writePicture(clip::wallShot(portrait(), kSize), folder / "1-wall.png");
  clip::writePicture(clip::faceShot(portrait(), kSize, kAside), folder / "2-aside.png");
  clip::writePicture(clip::faceShot(portrait(), kSize), folder / "3-inside.png");
}

void writeVideo(const std::filesystem::path& file) {
  std::ofstream out(file, std::ios::binary);
  out << "YUV4MPEG2 W" << kSize.width << " H" << kSize.height << " F30:1 Ip A1:1 C420jpeg\n";
  const Picture shots[] = {clip::wallShot(portrait(), kSize),
                           clip::faceShot(portrait(), kSize, kAside),
                           clip::faceShot(portrait(), kSize)};
  for (const Picture& shot : shots) {
    for (int i = 0; i < 5; ++i) writeFrame(out, shot);
  }
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace veltrane::testing
