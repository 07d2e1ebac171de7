#include "platform/opencv/face_networks.h"

#include <algorithm>
#include <utility>

#include "platform/opencv/late_library.h"

namespace veltrane::opencv {
namespace {

constexpr int kMostSightings = 16;
constexpr double kIsThere = 0.5;
/// The network's odds of a face are e to its answer: 15 and more for faces, 5 for gravel at times.
constexpr double kDoubt = 6;

struct ErrorText {
  char text[512] = "";
};

const Late<VeltraneVisionFunctions>& library() {
  static const auto loaded = [] {
    Late<VeltraneVisionFunctions> late;
#if defined(VELTRANE_OPENCV) && defined(VELTRANE_LOAD_LATE)
    void* const found = findLate(VELTRANE_VISION_LIBRARY, "veltrane_vision_functions", late.error);
    if (found) late.functions = reinterpret_cast<decltype(&veltrane_vision_functions)>(found)();
#elif defined(VELTRANE_OPENCV)
    late.functions = veltrane_vision_functions();
#else
    late.error = "built without OpenCV";
#endif
    return late;
  }();
  return loaded;
}

VeltranePixels pixelsOf(const FrameSampler::Sample& sample) {
  return {sample.pixels, sample.size.width, sample.size.height};
}

VeltraneMap mapOf(const AffineTransform& by) {
  return {by.a, by.c, by.tx, by.b, by.d, by.ty};
}

}  // namespace

std::unique_ptr<FaceNetworks> FaceNetworks::open(std::string& error) {
  const auto* const functions = library().functions;
  if (!functions) {
    error = library().error;
    return nullptr;
  }
  ErrorText why;
  void* const vision = functions->open(why.text, sizeof why.text);
  if (!vision) {
    error = why.text;
    return nullptr;
  }
  return std::unique_ptr<FaceNetworks>(new FaceNetworks(*functions, vision));
}

FaceNetworks::FaceNetworks(const VeltraneVisionFunctions& functions, void* vision)
    : functions_(functions),
      vision_(vision),
      detection_(std::make_unique<VeltraneDetection>()),
      mesh_(std::make_unique<VeltraneMesh>()) {}

FaceNetworks::~FaceNetworks() {
  functions_.close(vision_);
}

bool FaceNetworks::hasModels() const {
  return functions_.hasNetworks(vision_);
}

std::optional<std::vector<Detection>> FaceNetworks::detect(const PixelBuffer& frame,
                                                           std::string& error) {
  const Square whole = wholeOf(frame);
  const auto sample = sampler_.sample(frame, whole, kVeltraneInput);
  if (!sample) return std::vector<Detection>();
  ErrorText why;
  if (!functions_.detect(vision_, pixelsOf(*sample), mapOf(sample->map), detection_.get(), why.text,
                         sizeof why.text)) {
    error = why.text;
    return std::nullopt;
  }
  return facesIn(*detection_, transformOf(whole, kVeltraneInput));
}

std::optional<FaceNetworks::Look> FaceNetworks::look(const PixelBuffer& frame, const Square& square,
                                                     std::string& error) {
  const auto sample = sampler_.sample(frame, square, kVeltraneInput);
  if (!sample) return Look{};
  ErrorText why;
  if (!functions_.mesh(vision_, pixelsOf(*sample), mapOf(sample->map), mesh_.get(), why.text,
                       sizeof why.text)) {
    error = why.text;
    return std::nullopt;
  }
  const double presence = probability(mesh_->presence - kDoubt);
  if (presence <= kIsThere) return Look{.presence = presence, .points = {}};
  auto points = pointsOf(*mesh_, transformOf(square, kVeltraneInput));
  return points ? Look{.presence = presence, .points = std::move(*points)} : Look{};
}

std::optional<std::vector<FaceNetworks::Sighting>> FaceNetworks::cascade(const PixelBuffer& frame,
                                                                         const Square& square,
                                                                         int side,
                                                                         std::string& error) {
  const auto sample = sampler_.sample(frame, square, side);
  if (!sample) return std::vector<Sighting>();
  ErrorText why;
  VeltraneBox boxes[kMostSightings];
  const int count = functions_.cascade(vision_, pixelsOf(*sample), mapOf(sample->map), side, boxes,
                                       kMostSightings, why.text, sizeof why.text);
  if (count < 0) {
    error = why.text;
    return std::nullopt;
  }
  const AffineTransform map = transformOf(square, side);
  std::vector<Sighting> sightings;
  for (int i = 0; i < count; ++i) {
    const auto& box = boxes[i];
    sightings.push_back({.box = map.apply(Rect{double(box.x), double(box.y), double(box.width),
                                               double(box.height)}),
                         .count = box.count});
  }
  return sightings;
}

Square wholeOf(const PixelBuffer& frame) {
  const PixelSize size = frame.uprightSize();
  return {{size.width / 2.0, size.height / 2.0}, double(std::max(size.width, size.height)), 0};
}

}  // namespace veltrane::opencv
