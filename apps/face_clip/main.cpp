// Makes a folder of pictures that stands for a camera: an empty wall, then a face that comes into
// the oval from the side and stays there.
#include <exception>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

#include "apps/face_clip/shots.h"

namespace {

using namespace veltrane;
namespace fs = std::filesystem;

constexpr PixelSize kSize{720, 1280};
constexpr double kAside = 95;
constexpr int kWallFrames = 30;
constexpr int kAsideFrames = 30;
constexpr int kMovingFrames = 15;

/// The frames of a clip, in the order of their names.
class Clip {
 public:
  explicit Clip(fs::path folder) : folder_(std::move(folder)) { fs::create_directories(folder_); }

  void hold(int frames, const Picture& picture) {
    const fs::path first = next();
    clip::writePicture(picture, first);
    for (int i = 1; i < frames; ++i) {
      fs::copy_file(first, next(), fs::copy_options::overwrite_existing);
    }
  }

 private:
  fs::path next() {
    std::ostringstream name;
    name << std::setw(3) << std::setfill('0') << number_++ << ".png";
    return folder_ / name.str();
  }

  const fs::path folder_;
  int number_ = 0;
};

void makeClip(const fs::path& photograph, const fs::path& folder) {
  const auto portrait = clip::readPhotograph(photograph);
  Clip frames(folder);
  frames.hold(kWallFrames, clip::wallShot(*portrait, kSize));
  frames.hold(kAsideFrames, clip::faceShot(*portrait, kSize, kAside));
  for (int i = 1; i <= kMovingFrames; ++i) {
    frames.hold(1, clip::faceShot(*portrait, kSize, kAside * (kMovingFrames - i) / kMovingFrames));
  }
}

}  // namespace

int main(int count, char** words) {
  if (count != 3) {
    std::cerr << "usage: face_clip <" << clip::kPortrait << "> <folder>\n";
    return 2;
  }
  try {
    makeClip(words[1], words[2]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "face_clip: " << error.what() << '\n';
    return 1;
  }
}
