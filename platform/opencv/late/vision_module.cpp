#include "platform/opencv/late/vision_module.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <opencv2/core/utils/logger.hpp>
#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>
#include <stdexcept>
#include <string>
#include <vector>

// Files within this library: no look-up, and nothing that could be put in their place.
#define VELTRANE_EMBED(name, file)                                             \
  asm(".section .rodata\n.balign 16\n" #name ":\n.incbin \"" file "\"\n" #name \
      "_end:\n"                                                                \
      ".byte 0\n.previous\n");                                                 \
  extern "C" __attribute__((visibility("hidden"))) const char(name)[], (name##_end)[];

#ifdef VELTRANE_DETECTOR_FILE
VELTRANE_EMBED(veltrane_detector_model, VELTRANE_DETECTOR_FILE)
VELTRANE_EMBED(veltrane_mesh_model, VELTRANE_MESH_FILE)
#endif
VELTRANE_EMBED(veltrane_cascade, VELTRANE_CASCADE_FILE)

namespace {

/// Each size that the cascade looks for is larger than the last by this.
constexpr double kFinely = 1.1;
constexpr int kLeastCount = 3;

// Pixels are read as whole words, the first colour in the lowest byte.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
constexpr int kByte = 8;
constexpr int kByteMask = 0xFF;

void wipe(cv::Mat& picture) noexcept {
  if (!picture.empty()) explicit_bzero(picture.data, picture.total() * picture.elemSize());
}

void warp(VeltranePixels pixels, const VeltraneMap& map, int border, int side, cv::Mat& to) {
  const cv::Mat from(pixels.height, pixels.width, CV_8UC4, const_cast<uint8_t*>(pixels.data));
  // OpenCV counts from the middle of the first pixel.
  const cv::Matx23d matrix(map.a, map.b, map.c + (map.a + map.b - 1) / 2, map.d, map.e,
                           map.f + (map.d + map.e - 1) / 2);
  cv::warpAffine(from, to, matrix, {side, side}, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, border);
}

struct Network {
  cv::dnn::Net net;
  std::vector<std::string> outputs;
  std::vector<cv::Mat> answers;
  /// The square that it looks at, and the same as numbers, channel after channel.
  cv::Mat input;
  cv::Mat blob;

  Network(const char* begin, const char* end)
      : net(cv::dnn::readNetFromONNX(begin, static_cast<size_t>(end - begin))),
        outputs(net.getUnconnectedOutLayersNames()) {
    net.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    net.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);
    const int shape[] = {1, 3, kVeltraneInput, kVeltraneInput};
    blob.create(4, shape, CV_32F);
  }
  ~Network() {
    wipe(blob);
    wipe(input);
  }

  void look(VeltranePixels pixels, const VeltraneMap& map, int border, float scale, float shift) {
    warp(pixels, map, border, kVeltraneInput, input);
    const int count = kVeltraneInput * kVeltraneInput;
    const auto* const words = input.ptr<int32_t>();
    float* const numbers = blob.ptr<float>();
    for (int color = 0; color < 3; ++color) {
      for (int i = 0; i < count; ++i) {
        const int32_t value = (words[i] >> (kByte * color)) & kByteMask;
        numbers[color * count + i] = static_cast<float>(value) * scale + shift;
      }
    }
    net.setInput(blob);
    net.forward(answers, outputs);
  }

  /// The answer that has as many numbers.
  void copy(size_t count, float* to) const {
    for (const cv::Mat& answer : answers) {
      if (answer.total() != count || !answer.isContinuous()) continue;
      std::memcpy(to, answer.ptr<float>(), count * sizeof(float));
      return;
    }
    throw std::runtime_error("a network has no such answer");
  }
};

struct Vision {
  std::unique_ptr<Network> detector;
  std::unique_ptr<Network> mesh;
  cv::CascadeClassifier cascade;

  Vision() {
#ifdef VELTRANE_DETECTOR_FILE
    detector = std::make_unique<Network>(veltrane_detector_model, veltrane_detector_model_end);
    mesh = std::make_unique<Network>(veltrane_mesh_model, veltrane_mesh_model_end);
#endif
  }

  cv::CascadeClassifier& loadedCascade() {
    if (!cascade.empty()) return cascade;
    const cv::FileStorage file(std::string(veltrane_cascade, veltrane_cascade_end),
                               cv::FileStorage::READ | cv::FileStorage::MEMORY);
    if (!cascade.read(file.getFirstTopLevelNode())) throw std::runtime_error("no cascade");
    return cascade;
  }
};

/// What OpenCV throws becomes a text.
template <typename Result, typename Work>
Result guarded(Result failed, char* error, size_t size, Work work) noexcept {
  const char* what = "out of memory";
  try {
    return work();
  } catch (const std::exception& exception) {
    if (size > 0) snprintf(error, size, "%s", exception.what());
    return failed;
  } catch (...) {
    if (size > 0) snprintf(error, size, "%s", what);
    return failed;
  }
}

/// For the whole process, whose own OpenCV this may be: once, so what a host sets afterwards stays.
void setUpOpenCV() {
  cv::setNumThreads(1);
  cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
}

/// One at a time: OpenCV's tables of what networks are made of come into being with the first.
std::mutex& openingMutex() {
  static std::mutex mutex;
  return mutex;
}

void* open(char* error, size_t size) {
  return guarded<void*>(nullptr, error, size, [] {
    const std::lock_guard lock(openingMutex());
    static bool isSetUp = false;
    if (!isSetUp) setUpOpenCV();
    isSetUp = true;
    return std::make_unique<Vision>().release();
  });
}

void close(void* vision) {
  delete static_cast<Vision*>(vision);
}

bool hasNetworks(const void* vision) {
  return static_cast<const Vision*>(vision)->detector != nullptr;
}

bool detect(void* vision, VeltranePixels pixels, VeltraneMap map, VeltraneDetection* found,
            char* error, size_t size) {
  return guarded(false, error, size, [&] {
    Network& network = *static_cast<Vision*>(vision)->detector;
    network.look(pixels, map, cv::BORDER_CONSTANT, 1 / 127.5F, -1);
    network.copy(kVeltraneCells, found->scores);
    network.copy(size_t{kVeltraneCells} * kVeltraneCellNumbers, found->cells);
    return true;
  });
}

bool mesh(void* vision, VeltranePixels pixels, VeltraneMap map, VeltraneMesh* found, char* error,
          size_t size) {
  return guarded(false, error, size, [&] {
    Network& network = *static_cast<Vision*>(vision)->mesh;
    network.look(pixels, map, cv::BORDER_REPLICATE, 1 / 255.0F, 0);
    network.copy(1, &found->presence);
    network.copy(size_t{kVeltranePoints} * kVeltranePointNumbers, found->points);
    return true;
  });
}

int cascade(void* vision, VeltranePixels pixels, VeltraneMap map, int side, VeltraneBox* boxes,
            int most, char* error, size_t size) {
  return guarded(-1, error, size, [&] {
    cv::Mat square;
    warp(pixels, map, cv::BORDER_CONSTANT, side, square);
    cv::Mat grey;
    cv::cvtColor(square, grey, cv::COLOR_RGBA2GRAY);
    wipe(square);
    std::vector<cv::Rect> faces;
    std::vector<int> counts;
    static_cast<Vision*>(vision)->loadedCascade().detectMultiScale(grey, faces, counts, kFinely,
                                                                   kLeastCount);
    wipe(grey);
    const int count = std::min(static_cast<int>(faces.size()), most);
    for (int i = 0; i < count; ++i) {
      boxes[i] = {faces[i].x, faces[i].y, faces[i].width, faces[i].height, counts[i]};
    }
    return count;
  });
}

constexpr VeltraneVisionFunctions kFunctions = {open, close, hasNetworks, detect, mesh, cascade};

}  // namespace

const VeltraneVisionFunctions* veltrane_vision_functions() {
  return &kFunctions;
}
