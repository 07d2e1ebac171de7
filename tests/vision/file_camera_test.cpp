#include "platform/opencv/file_camera.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <condition_variable>
#include <fstream>
#include <mutex>

#include "platform/pictures/codec.h"
#include "tests/support/temporary_folder.h"
#include "tests/vision/face_clip.h"
#include "veltrane/face/frame_picture.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// What a camera's owner hears, from the camera's thread.
class Viewer {
 public:
  /// Looks at every `nth` offer of a frame.
  explicit Viewer(int nth = 1) : nth_(nth) {}

  Camera::Events events() {
    return {
        .opened = [this](const CameraFormat& format) { tell("opened " + text(format.resolution)); },
        .frame =
            [this](PixelBufferPtr frame) {
              if (++offers_ % nth_ != 0) return false;
              tell(frame ? text(frame->size) : "no pixels");
              return true;
            },
        .failed =
            [this](const CameraError& error) {
              tell("failed " + std::to_string(error.code) + ": " + error.localizedDescription);
              end();
            }};
  }
  void end() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    changed_.notify_all();
  }
  void waitForEnd() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isOver_; });
  }
  void waitForLines(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return lines_.size() >= count; });
  }
  std::vector<std::string> lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  static std::string text(PixelSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
  }
  void tell(std::string line) {
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
    changed_.notify_all();
  }

  const int nth_;
  int offers_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  bool isOver_ = false;
};

class FileCamera : public ::testing::Test {
 protected:
  std::filesystem::path write(const std::string& name, const std::string& bytes) {
    const auto path = folder.path() / name;
    std::ofstream(path) << bytes;
    return path;
  }
  std::filesystem::path writePicture(const std::string& name, PixelSize size) {
    const Picture picture{size, Pixels(4 * static_cast<std::size_t>(size.width) * size.height, 200),
                          true};
    return write(name, pictures::Codec().encodePNG(picture).value());
  }
  /// Everything until nothing new can come.
  std::vector<std::string> watch(const std::filesystem::path& path, int nth = 1) {
    Viewer viewer(nth);
    const auto camera = opencv::makeFileCamera(
        {.path = path, .framesPerSecond = std::nullopt, .ended = [&viewer] { viewer.end(); }});
    camera->startRunning(viewer.events());
    viewer.waitForEnd();
    camera->stopRunning();
    auto lines = viewer.lines();
    // The last frame stays.
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    return lines;
  }

  TemporaryFolder folder;
};

TEST_F(FileCamera, showsTheFramesOfAFolderInNameOrderAndLosesNone) {
  writePicture("b.png", {30, 20});
  writePicture("B.png", {20, 30});
  write("a.png", "\x89PNG\r\n\x1a\n cut short");
  writePicture("a2.png", {5, 7});
  writePicture("a10.png", {64, 48});
  write(".hidden.png", "x");
  const std::vector<std::string> expected = {"opened 20x30", "20x30", "no pixels",
                                             "64x48",        "5x7",   "30x20"};
  EXPECT_EQ(watch(folder.path()), expected);
  EXPECT_EQ(watch(folder.path(), 3), expected) << "for those who are busy most of the time";
  EXPECT_EQ(opencv::fileCameraProblem(folder.path()), std::nullopt);
}

TEST_F(FileCamera, tellsTheSizeOfTheFirstPictureThatCanBeRead) {
  write("1.png", "\x89PNG\r\n\x1a\n cut short");
  writePicture("2.png", {9, 8});
  EXPECT_THAT(watch(folder.path()), ElementsAre("opened 9x8", "no pixels", "9x8"));
}

TEST_F(FileCamera, showsAPictureUprightInItsOwnColours) {
  const auto path = std::filesystem::path(std::getenv("VELTRANE_PHOTOGRAPHS")) / "coffee.png";
  PixelBufferPtr shown;
  Viewer viewer;
  auto events = viewer.events();
  events.frame = [&shown](PixelBufferPtr frame) {
    shown = std::move(frame);
    return true;
  };
  const auto camera = opencv::makeFileCamera({path, std::nullopt, [&viewer] { viewer.end(); }});
  camera->startRunning(std::move(events));
  viewer.waitForEnd();
  camera->stopRunning();
  ASSERT_TRUE(shown);
  const auto expected = frameOf(photograph("coffee.png"));
  EXPECT_TRUE(face::pictureFrom(*shown)->pixels == face::pictureFrom(*expected)->pixels);
}

TEST_F(FileCamera, showsAVideoAtItsOwnPace) {
  // Two pictures of one colour each, uncompressed: 4:2:0 in three planes.
  std::string video = "YUV4MPEG2 W16 H8 F50:1 Ip A1:1 C420\n";
  for (const char luma : {'\x20', '\x60'}) {
    video += "FRAME\n" + std::string(16 * 8, luma) + std::string(2 * 8 * 4, '\x80');
  }
  const auto path = write("clip.y4m", video);
  EXPECT_EQ(opencv::fileCameraProblem(path), std::nullopt);
  EXPECT_THAT(watch(path), ElementsAre("opened 16x8", "16x8"));
}

TEST_F(FileCamera, saysWhyAPathIsNoCamera) {
  const auto empty = folder.path() / "empty";
  std::filesystem::create_directory(empty);
  const auto text = write("text.txt", "not a picture");
  const auto cut = write("cut.png", "\x89PNG\r\n\x1a\n");
  const auto pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const std::pair<std::filesystem::path, const char*> problems[] = {
      {pipe, "pipe is neither a file nor a folder"},
      {folder.path() / "nowhere", "there is no "},
      {empty, "there is no file in "},
      {text, "cannot be read as a picture or a video"},
      {cut, "that can be read"},
  };
  for (const auto& [path, problem] : problems) {
    EXPECT_THAT(opencv::fileCameraProblem(path).value_or(""), HasSubstr(problem));
    const auto heard = watch(path);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_THAT(heard[0], HasSubstr(problem));
    EXPECT_THAT(heard[0], HasSubstr("failed "));
  }
}

TEST_F(FileCamera, fallsSilentWheneverItIsStopped) {
  const auto path = writePicture("one.png", {8, 8});
  {
    Viewer viewer;
    opencv::makeFileCamera({.path = path})->stopRunning();
    const auto camera = opencv::makeFileCamera({.path = path});
    camera->startRunning(viewer.events());
    camera->stopRunning();
    camera->stopRunning();
    const auto heard = viewer.lines();
    EXPECT_EQ(viewer.lines(), heard) << "no call runs after it";
  }
  {
    // Never looked at: it goes on offering until it is told to stop.
    Viewer viewer(1000000);
    const auto camera = opencv::makeFileCamera({.path = path});
    camera->startRunning(viewer.events());
    viewer.waitForLines(1);
    camera->stopRunning();
    EXPECT_THAT(viewer.lines(), ElementsAre("opened 8x8"));
  }
}

TEST_F(FileCamera, mayBeStoppedWithinItsOwnCalls) {
  const auto path = writePicture("one.png", {8, 8});
  for (const std::string within : {"opened", "frame", "ended"}) {
    Viewer viewer;
    int callsAfterwards = 0;
    bool isStopped = false;
    std::shared_ptr<Camera> camera;
    const auto called = [&](const std::string& which) {
      if (isStopped) ++callsAfterwards;
      if (which != within) return;
      camera->stopRunning();
      isStopped = true;
      viewer.end();
    };
    camera = opencv::makeFileCamera({path, std::nullopt, [&] { called("ended"); }});
    camera->startRunning({.opened = [&](const CameraFormat&) { called("opened"); },
                          .frame =
                              [&](const PixelBufferPtr&) {
                                called("frame");
                                return true;
                              },
                          .failed = [&](const CameraError&) { called("failed"); }});
    viewer.waitForEnd();
    camera.reset();
    EXPECT_EQ(callsAfterwards, 0) << within;
  }
}

}  // namespace
}  // namespace veltrane::testing
