#include "platform/opencv/file_source.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "platform/opencv/late/file_module.h"
#include "platform/opencv/late_library.h"

namespace veltrane::opencv {
namespace {

namespace fs = std::filesystem;

// Never destroyed: a camera's thread that was let go of may still ask at the program's end.
const Late<VeltraneFileFunctions>& library() {
  static const auto& loaded = *[] {
    auto* const made = new Late<VeltraneFileFunctions>;
    Late<VeltraneFileFunctions>& late = *made;
#if defined(VELTRANE_OPENCV) && defined(VELTRANE_LOAD_LATE)
    void* const found = findLate(VELTRANE_FILES_LIBRARY, "veltrane_file_functions", late.error);
    if (found) late.functions = reinterpret_cast<decltype(&veltrane_file_functions)>(found)();
#elif defined(VELTRANE_OPENCV)
    late.functions = veltrane_file_functions();
#else
    late.error = "built without OpenCV";
#endif
    return made;
  }();
  return loaded;
}

/// What OpenCV has read, as a frame; null when there is none.
PixelBufferPtr frameOf(void* picture, const VeltraneSize& read) {
  if (!picture) return nullptr;
  const auto& functions = *library().functions;
  const std::unique_ptr<void, void (*)(void*)> owned(picture, functions.freePicture);
  const PixelSize size{read.width, read.height};
  if (!isBearable(size)) return nullptr;
  const auto frame = PixelBuffer::allocate(PixelFormat::rgb, size);
  if (!functions.copyPicture(picture, frame.planes[0], frame.buffer->planes[0].stride)) {
    return nullptr;
  }
  return frame.buffer;
}

class Pictures final : public FileSource {
 public:
  explicit Pictures(std::vector<std::string> paths) : paths_(std::move(paths)) {}

  std::optional<PixelBufferPtr> next() override {
    if (read_ == paths_.size()) return std::nullopt;
    VeltraneSize size{};
    void* const picture = library().functions->readPicture(paths_[read_++].c_str(), &size);
    return frameOf(picture, size);
  }

 private:
  const std::vector<std::string> paths_;
  std::size_t read_ = 0;
};

class Video final : public FileSource {
 public:
  Video(void* video, double framesPerSecond)
      : video_(video, library().functions->closeVideo), framesPerSecond_(framesPerSecond) {}

  std::optional<PixelBufferPtr> next() override {
    VeltraneSize size{};
    void* const picture = library().functions->nextPicture(video_.get(), &size);
    if (!picture) return std::nullopt;
    return frameOf(picture, size);
  }
  std::optional<double> framesPerSecond() const override {
    const bool isSaid = std::isfinite(framesPerSecond_) && framesPerSecond_ > 0;
    return isSaid ? std::optional(framesPerSecond_) : std::nullopt;
  }

 private:
  const std::unique_ptr<void, void (*)(void*)> video_;
  const double framesPerSecond_;
};

std::vector<std::string> filesIn(const fs::path& folder) {
  std::vector<std::string> paths;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->path().filename().native().starts_with('.') || !it->is_regular_file(error)) continue;
    paths.push_back(it->path().native());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::unique_ptr<FileSource> openFolder(const fs::path& folder, std::string& problem) {
  auto paths = filesIn(folder);
  if (paths.empty()) {
    problem = "there is no file in " + folder.string();
    return nullptr;
  }
  const auto isPicture = [](const auto& path) {
    return library().functions->isPicture(path.c_str());
  };
  if (std::none_of(paths.begin(), paths.end(), isPicture)) {
    problem = "there is no picture in " + folder.string();
    return nullptr;
  }
  return std::make_unique<Pictures>(std::move(paths));
}

std::unique_ptr<FileSource> openFile(const fs::path& file, std::string& problem) {
  const auto& functions = *library().functions;
  if (functions.isPicture(file.c_str()))
    return std::make_unique<Pictures>(std::vector{file.string()});
  double framesPerSecond = 0;
  if (void* const video = functions.openVideo(file.c_str(), &framesPerSecond)) {
    return std::make_unique<Video>(video, framesPerSecond);
  }
  problem = file.string() + " cannot be read as a picture or a video";
  return nullptr;
}

}  // namespace

void FileSource::load() {
  library();
}

std::unique_ptr<FileSource> FileSource::open(const fs::path& path, std::string& problem) {
  std::error_code error;
  // A relative name might be taken for a network address.
  const fs::path file = fs::absolute(path, error);
  const auto status = fs::status(file, error);
  if (!fs::exists(status)) {
    problem = "there is no " + path.string();
    return nullptr;
  }
  // Whatever else has a name, a pipe for one, may never have anything to read.
  if (!fs::is_directory(status) && !fs::is_regular_file(status)) {
    problem = path.string() + " is neither a file nor a folder";
    return nullptr;
  }
  if (!library().functions) {
    problem = "files cannot be read as a camera: " + library().error;
    return nullptr;
  }
  return fs::is_directory(status) ? openFolder(file, problem) : openFile(file, problem);
}

}  // namespace veltrane::opencv
