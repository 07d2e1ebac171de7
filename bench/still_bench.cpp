// A face that is taken: from the frame to the PNG, the PNG file itself, and the body of the event
// that carries it.
#include <benchmark/benchmark.h>
#include <libyuv.h>
#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "bench/bare_png.h"
#include "bench/photograph.h"
#include "bench/ratio_reporter.h"
#include "platform/pictures/codec.h"
#include "tests/support/fakes.h"
#include "veltrane/base/json.h"
#include "veltrane/base/wipe.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/engine/screens_view_model.h"
#include "veltrane/face/face_still.h"
#include "veltrane/face/frame_picture.h"

namespace {

using namespace veltrane;
using bench::Pair;
using pictures::Codec;

constexpr PixelSize kFrame{1920, 1080};
constexpr PixelSize kStill{1000, 562};
constexpr std::size_t kSent = 900'000;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::exit(1);
}

const Picture& photograph() {
  static const Picture picture = bench::photograph(kFrame);
  return picture;
}

/// The photograph as a camera delivers it.
const PixelBuffer& frame() {
  static const auto made = [] {
    const auto planar = PixelBuffer::allocate(PixelFormat::i420, kFrame);
    const auto writable = PixelBuffer::allocate(PixelFormat::nv12, kFrame);
    const auto stride = [](const PixelBuffer::Writable& buffer, int plane) {
      return static_cast<int>(buffer.buffer->planes[plane].stride);
    };
    // libyuv names the bytes from the highest: ours are its ABGR.
    libyuv::ABGRToI420(photograph().pixels.data(), 4 * kFrame.width, planar.planes[0],
                       stride(planar, 0), planar.planes[1], stride(planar, 1), planar.planes[2],
                       stride(planar, 2), kFrame.width, kFrame.height);
    libyuv::I420ToNV12(planar.planes[0], stride(planar, 0), planar.planes[1], stride(planar, 1),
                       planar.planes[2], stride(planar, 2), writable.planes[0], stride(writable, 0),
                       writable.planes[1], stride(writable, 1), kFrame.width, kFrame.height);
    return writable.buffer;
  }();
  return *made;
}

const Picture& whole() {
  static const PicturePtr picture = face::pictureFrom(frame());
  return *picture;
}

const Picture& small() {
  static const PicturePtr picture = Codec().resize(whole(), kStill, ResizeFramework::coreGraphics);
  return *picture;
}

// ---- from the frame to the still

void still(benchmark::State& state) {
  const Codec codec;
  for (auto _ : state) {
    const auto taken = face::takeStill(frame(), codec);
    require(taken != nullptr, "takeStill");
    benchmark::DoNotOptimize(taken->png.data());
  }
}

void scaleAndEncode(benchmark::State& state) {
  const Codec codec;
  for (auto _ : state) {
    const auto scaled = codec.resize(whole(), kStill, ResizeFramework::coreGraphics);
    const auto png = codec.encodePNG(*scaled);
    require(png.has_value(), "encodePNG");
    benchmark::DoNotOptimize(png->data());
  }
}

void convert(benchmark::State& state) {
  for (auto _ : state) {
    const auto picture = face::pictureFrom(frame());
    benchmark::DoNotOptimize(picture->pixels.data());
  }
}

/// Into memory that is new each time, as a picture's is, and wiped as one of a face is.
void bareConversion(benchmark::State& state) {
  for (auto _ : state) {
    Pixels pixels(std::size_t{4} * kFrame.width * kFrame.height);
    require(libyuv::NV12ToABGR(frame().planes[0].data, static_cast<int>(frame().planes[0].stride),
                               frame().planes[1].data, static_cast<int>(frame().planes[1].stride),
                               pixels.data(), 4 * kFrame.width, kFrame.width, kFrame.height) == 0,
            "NV12ToABGR");
    benchmark::DoNotOptimize(pixels.data());
    wipe(pixels.data(), pixels.size());
  }
}

// ---- the file

void encodePNG(benchmark::State& state) {
  std::size_t size = 0;
  for (auto _ : state) size = Codec().encodePNG(small()).value().size();
  state.counters["bytes"] = static_cast<double>(size);
}

void encodeWithLibpng(benchmark::State& state) {
  std::size_t size = 0;
  for (auto _ : state) size = bench::barePNG(small(), PNG_COLOR_TYPE_RGB);
  state.counters["bytes"] = static_cast<double>(size);
}

// ---- the event

const std::string& sentPicture() {
  static const std::string bytes = [] {
    std::string made(kSent, '\0');
    std::uint32_t random = 1;
    for (char& byte : made)
      byte = static_cast<char>((random = random * 1664525 + 1013904223) >> 24);
    return made;
  }();
  return bytes;
}

constexpr const char* kDocument = R"({
  "id": "doc-1", "companyId": "acme", "flowId": "face", "connectionId": "conn-1",
  "capabilityName": "faceImageCapture", "interactionId": "interaction-1",
  "screen": {
    "userViews": [{"screenTemplateName": "FaceImageCaptureTemplate", "screenConfigName": "face"}],
    "properties": {"face": {"properties": {"nextEvent": {
      "constructType": "vtEvent", "eventType": "post", "eventName": "sendFace"}}}}}})";

/// From the picture's bytes to the request that the transport gets.
void eventBody(benchmark::State& state) {
  testing::FakePlatform platform;
  const auto model = ScreensViewModel::make(
      GenericViewModel::getUserViewProps(JSON::parse(kDocument).value).front(), 0);
  for (auto _ : state) {
    model->processNextEvent({.additionalParameter = {{"imageData", JSON::base64(sentPicture())}}});
    const auto& body = platform.transport->last().request.body;
    require(body && body->size() > kSent / 3 * 4, "body");
    state.PauseTiming();
    platform.transport->answer(200, R"({"success": 1})");
    platform.mainQueue->run();
    platform.transport->exchanges.clear();
    state.ResumeTiming();
  }
}

void bareBase64(benchmark::State& state) {
  for (auto _ : state) {
    std::string text((sentPicture().size() + 2) / 3 * 4 + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                    reinterpret_cast<const unsigned char*>(sentPicture().data()),
                    static_cast<int>(sentPicture().size()));
    benchmark::DoNotOptimize(text.data());
  }
}

void printBytes(const std::string& name, const Picture& picture) {
  constexpr double kWanted = 0.95;
  const auto size = static_cast<double>(Codec().encodePNG(picture).value().size());
  const double ratio = size / static_cast<double>(bench::barePNG(picture, PNG_COLOR_TYPE_RGBA));
  const double colors = size / static_cast<double>(bench::barePNG(picture, PNG_COLOR_TYPE_RGB));
  std::printf(
      "BYTES %.2f (wanted at most %.2f%s), of the colours alone %.2f  PNG / libpng's default, %s\n",
      ratio, kWanted, ratio <= kWanted ? "" : ", MISSED", colors, name.c_str());
}

/// Those of the folder that the environment names, each stretched to the size of a still.
void printBytesOfPhotographs() {
  const char* const folder = std::getenv("VELTRANE_PHOTOGRAPHS");
  if (!folder) return;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const auto picture = Codec().decode(bytes);
    if (!picture) continue;
    const auto scaled = Codec().resize(*picture, kStill, ResizeFramework::coreGraphics);
    printBytes(entry.path().filename(), *scaled);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::pair<const char*, void (*)(benchmark::State&)> all[] = {
      {"still", still},          {"scale_and_encode", scaleAndEncode},
      {"convert", convert},      {"NV12ToABGR", bareConversion},
      {"encodePNG", encodePNG},  {"libpng_default", encodeWithLibpng},
      {"event_body", eventBody}, {"EVP_EncodeBlock", bareBase64},
  };
  for (const auto& [name, run] : all) benchmark::RegisterBenchmark(name, run);
  printBytes("the generated photograph", small());
  printBytesOfPhotographs();
  return bench::runPairs(
      argc, argv,
      {{"face inside to PNG ready / scale + encode", "still", "scale_and_encode", 1.10},
       {"frame to picture, and wiped / bare libyuv, and wiped", "convert", "NV12ToABGR", 1.60},
       {"PNG / libpng's default", "encodePNG", "libpng_default", 0.05},
       {"event body with a picture of 900 KB / EVP_EncodeBlock", "event_body", "EVP_EncodeBlock",
        1.05}});
}
