#include "platform/opencv/late/file_module.h"

#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

namespace {

using Picture = cv::Mat;

/// Whatever OpenCV throws is an answer of its own.
template <typename Result, typename Work>
Result guarded(Result failed, Work work) noexcept {
  try {
    return work();
  } catch (...) {
    return failed;
  }
}

void wipe(Picture& picture) noexcept {
  if (picture.empty() || !picture.isContinuous()) return;
  explicit_bzero(picture.data, picture.total() * picture.elemSize());
}

/// Null for what is no picture of three times eight bits.
void* handOver(Picture&& picture, VeltraneSize* size) {
  if (picture.empty() || picture.type() != CV_8UC3) return nullptr;
  *size = {picture.cols, picture.rows};
  return std::make_unique<Picture>(std::move(picture)).release();
}

bool isPicture(const char* path) {
  return guarded(false, [&] { return cv::haveImageReader(path); });
}

void* readPicture(const char* path, VeltraneSize* size) {
  return guarded<void*>(nullptr,
                        [&] { return handOver(cv::imread(path, cv::IMREAD_COLOR), size); });
}

void* openVideo(const char* path, double* framesPerSecond) {
  return guarded<void*>(nullptr, [&]() -> void* {
    // Not GStreamer, to which a name may be a whole program, nor numbered pictures.
    for (const int reader : {cv::CAP_FFMPEG, cv::CAP_OPENCV_MJPEG}) {
      auto video = std::make_unique<cv::VideoCapture>(path, reader);
      if (!video->isOpened()) continue;
      *framesPerSecond = video->get(cv::CAP_PROP_FPS);
      return video.release();
    }
    return nullptr;
  });
}

void* nextPicture(void* video, VeltraneSize* size) {
  return guarded<void*>(nullptr, [&]() -> void* {
    Picture picture;
    if (!static_cast<cv::VideoCapture*>(video)->read(picture)) return nullptr;
    return handOver(std::move(picture), size);
  });
}

void closeVideo(void* video) {
  delete static_cast<cv::VideoCapture*>(video);
}

bool copyPicture(const void* picture, uint8_t* to, ptrdiff_t stride) {
  return guarded(false, [&] {
    const auto& from = *static_cast<const Picture*>(picture);
    Picture target(from.size(), CV_8UC3, to, static_cast<size_t>(stride));
    cv::cvtColor(from, target, cv::COLOR_BGR2RGB);
    return target.data == to;
  });
}

void freePicture(void* picture) {
  const std::unique_ptr<Picture> owned(static_cast<Picture*>(picture));
  wipe(*owned);
}

constexpr VeltraneFileFunctions kFunctions = {isPicture,  readPicture, openVideo,  nextPicture,
                                              closeVideo, copyPicture, freePicture};

}  // namespace

const VeltraneFileFunctions* veltrane_file_functions() {
  return &kFunctions;
}
