// A frame of 1280x720 through all that is done with it, against the bare calls of the networks.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "platform/opencv/face_vision.h"
#include "tests/vision/face_clip.h"
#include "veltrane/face/face_tracking.h"

namespace {

using veltrane::FaceTracking;
using veltrane::PixelBufferPtr;
using veltrane::bench::Pair;

constexpr veltrane::PixelSize kSize{1280, 720};
/// The detector is asked once in so many frames with a face that is followed.
constexpr int kFramesADetection = 4;

/// A network as its file is, asked with numbers that are there already.
class Bare {
 public:
  explicit Bare(const std::string& file) : net_(cv::dnn::readNetFromONNX(file)) {
    net_.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    const int shape[] = {1, 3, 192, 192};
    input_.create(4, shape, CV_32F);
    cv::randu(input_, -1, 1);
    names_ = net_.getUnconnectedOutLayersNames();
  }
  void ask() {
    net_.setInput(input_);
    net_.forward(answers_, names_);
    benchmark::DoNotOptimize(answers_.front().data);
  }

 private:
  cv::dnn::Net net_;
  cv::Mat input_;
  std::vector<std::string> names_;
  std::vector<cv::Mat> answers_;
};

Bare& detector() {
  static Bare bare(VELTRANE_DETECTOR_FILE);
  return bare;
}
Bare& mesh() {
  static Bare bare(VELTRANE_MESH_FILE);
  return bare;
}

PixelBufferPtr frame(bool hasFace) {
  veltrane::testing::Random random(1);
  auto canvas = veltrane::testing::scene(random, kSize);
  if (hasFace) {
    veltrane::testing::drawFace(canvas, 0, {.middle = {640, 360}, .side = 240});
  }
  return veltrane::testing::frameOf(canvas, veltrane::PixelFormat::nv12);
}

void require(bool isSo, const char* what) {
  if (!isSo) throw std::runtime_error(what);
}

void detectionFrame(benchmark::State& state) {
  const auto nobody = frame(false);
  FaceTracking tracking(veltrane::opencv::makeFaceVision());
  tracking.captureOutput(nobody);  // loads the networks
  for (auto _ : state) {
    const auto seen = tracking.captureOutput(nobody);
    require(seen && seen->faces.empty(), "a face where there is none");
  }
}

void bareDetection(benchmark::State& state) {
  for (auto _ : state) detector().ask();
}

/// As many as there are from one question to the detector to the next.
void trackingFrames(benchmark::State& state) {
  const auto person = frame(true);
  FaceTracking tracking(veltrane::opencv::makeFaceVision());
  tracking.captureOutput(person);
  for (auto _ : state) {
    for (int i = 0; i < kFramesADetection; ++i) {
      const auto seen = tracking.captureOutput(person);
      require(seen && seen->areTracked && seen->faces.size() == 1, "no face");
      require(!seen->faces[0].landmarks.empty(), "no landmarks");
    }
  }
}

void bareTracking(benchmark::State& state) {
  for (auto _ : state) {
    for (int i = 0; i < kFramesADetection; ++i) mesh().ask();
    detector().ask();
  }
}

}  // namespace

int main(int argc, char** argv) {
  // As the library has it.
  cv::setNumThreads(1);
  benchmark::RegisterBenchmark("detectionFrame", detectionFrame);
  benchmark::RegisterBenchmark("bareDetection", bareDetection);
  benchmark::RegisterBenchmark("trackingFrames", trackingFrames);
  benchmark::RegisterBenchmark("bareTracking", bareTracking);
  return veltrane::bench::runPairs(argc, argv,
                                   {{"a frame in which faces are looked for / its network",
                                     "detectionFrame", "bareDetection", 1.15},
                                    {"four frames with a face that is followed / their networks",
                                     "trackingFrames", "bareTracking", 1.15}});
}
