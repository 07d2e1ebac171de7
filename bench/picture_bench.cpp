// The five scalers against the bare calls of the libraries behind them, and the one that is used
// where nothing else is asked for against OpenCV's; PNG files against libpng's.
#include <benchmark/benchmark.h>
#include <libyuv.h>
#include <pixman.h>
#include <zimg.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/bare_png.h"
#include "bench/photograph.h"
#include "bench/ratio_reporter.h"
#include "platform/pictures/codec.h"

namespace {

using veltrane::Picture;
using veltrane::PicturePtr;
using veltrane::PixelSize;
using veltrane::ResizeFramework;
using veltrane::bench::Pair;
using veltrane::pictures::Codec;

constexpr PixelSize kFrom{1920, 1080};
constexpr PixelSize kTo{1000, 562};

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::exit(1);
}

const Picture& original() {
  static const Picture picture = veltrane::bench::photograph(kFrom);
  return picture;
}

Picture target() {
  return {.size = kTo,
          .pixels = decltype(Picture::pixels)(std::size_t{4} * kTo.width * kTo.height),
          .isOpaque = true};
}

std::uint8_t* source() {
  return const_cast<std::uint8_t*>(original().pixels.data());
}

// What a program without this library would write, into memory that is there already.

void openCV(Picture& to, int filter) {
  cv::setNumThreads(1);
  const cv::Mat from(kFrom.height, kFrom.width, CV_8UC4, source());
  cv::Mat result(kTo.height, kTo.width, CV_8UC4, to.pixels.data());
  cv::resize(from, result, result.size(), 0, 0, filter);
}

void bareLibyuv(Picture& to) {
  require(libyuv::ARGBScale(source(), 4 * kFrom.width, kFrom.width, kFrom.height, to.pixels.data(),
                            4 * kTo.width, kTo.width, kTo.height, libyuv::kFilterBox) == 0,
          "ARGBScale");
}

/// As whoever uses pixman does: into an image that it makes for the purpose.
void barePixman(Picture& /*to*/) {
  pixman_image_t* from =
      pixman_image_create_bits(PIXMAN_a8b8g8r8, kFrom.width, kFrom.height,
                               reinterpret_cast<std::uint32_t*>(source()), 4 * kFrom.width);
  pixman_image_t* result =
      pixman_image_create_bits_no_clear(PIXMAN_a8b8g8r8, kTo.width, kTo.height, nullptr, 0);
  pixman_transform_t transform;
  pixman_transform_init_scale(&transform, pixman_double_to_fixed(double(kFrom.width) / kTo.width),
                              pixman_double_to_fixed(double(kFrom.height) / kTo.height));
  pixman_image_set_transform(from, &transform);
  pixman_image_set_filter(from, PIXMAN_FILTER_BILINEAR, nullptr, 0);
  pixman_image_set_repeat(from, PIXMAN_REPEAT_PAD);
  pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, result, 0, 0, 0, 0, 0, 0, kTo.width,
                           kTo.height);
  pixman_image_unref(from);
  pixman_image_unref(result);
}

/// Three planes of a picture; rows start where the widest instructions want them.
struct Planes {
  std::ptrdiff_t stride;
  std::unique_ptr<std::uint8_t, decltype(&std::free)> memory;
  std::uint8_t* plane[3];

  explicit Planes(PixelSize size)
      : stride((size.width + 63) / 64 * 64),
        memory(static_cast<std::uint8_t*>(std::aligned_alloc(64, 3 * stride * size.height)),
               &std::free) {
    for (int i = 0; i < 3; ++i) plane[i] = memory.get() + i * stride * size.height;
  }
};

zimg_image_format zimgFormat(PixelSize size) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(size.width);
  format.height = static_cast<unsigned>(size.height);
  format.pixel_type = ZIMG_PIXEL_BYTE;
  format.color_family = ZIMG_COLOR_RGB;
  format.matrix_coefficients = ZIMG_MATRIX_RGB;
  format.pixel_range = ZIMG_RANGE_FULL;
  return format;
}

/// As zimg's own examples go: split the picture, scale its planes, put them together again.
void bareZimg(Picture& to, zimg_resample_filter_e filter, double a, double b) {
  static Planes from(kFrom);
  static Planes result(kTo);
  const zimg_image_format source = zimgFormat(kFrom);
  const zimg_image_format target = zimgFormat(kTo);
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  parameters.resample_filter = filter;
  parameters.filter_param_a = a;
  parameters.filter_param_b = b;
  parameters.cpu_type = ZIMG_CPU_AUTO_64B;
  zimg_filter_graph* graph = zimg_filter_graph_build(&source, &target, &parameters);
  std::size_t size = 0;
  zimg_filter_graph_get_tmp_size(graph, &size);
  void* scratch = std::aligned_alloc(64, (size + 63) / 64 * 64);
  zimg_image_buffer_const input{};
  zimg_image_buffer output{};
  input.version = output.version = ZIMG_API_VERSION;
  for (int i = 0; i < 3; ++i) {
    input.plane[i] = {from.plane[i], from.stride, ZIMG_BUFFER_MAX};
    output.plane[i] = {result.plane[i], result.stride, ZIMG_BUFFER_MAX};
  }
  const auto stride = [](const Planes& planes) { return static_cast<int>(planes.stride); };
  libyuv::SplitARGBPlane(::source(), 4 * kFrom.width, from.plane[0], stride(from), from.plane[1],
                         stride(from), from.plane[2], stride(from), nullptr, 0, kFrom.width,
                         kFrom.height);
  require(zimg_filter_graph_process(graph, &input, &output, scratch, nullptr, nullptr, nullptr,
                                    nullptr) == 0,
          "zimg");
  libyuv::MergeARGBPlane(result.plane[0], stride(result), result.plane[1], stride(result),
                         result.plane[2], stride(result), nullptr, 0, to.pixels.data(),
                         4 * kTo.width, kTo.width, kTo.height);
  std::free(scratch);
  zimg_filter_graph_free(graph);
}

void bareTriangle(Picture& to) {
  bareZimg(to, ZIMG_RESIZE_BILINEAR, 0, 0);
}
void bareBicubic(Picture& to) {
  bareZimg(to, ZIMG_RESIZE_BICUBIC, 0, 0.5);
}
void bareLanczos(Picture& to) {
  bareZimg(to, ZIMG_RESIZE_LANCZOS, 3, 0);
}
void openCVArea(Picture& to) {
  openCV(to, cv::INTER_AREA);
}

void ours(benchmark::State& state, ResizeFramework framework) {
  const Codec codec;
  for (auto _ : state) {
    const PicturePtr result = codec.resize(original(), kTo, framework);
    require(result != nullptr, "resize");
    benchmark::DoNotOptimize(result->pixels.data());
  }
}

void theirs(benchmark::State& state, void (*scale)(Picture&)) {
  Picture to = target();
  for (auto _ : state) {
    scale(to);
    benchmark::DoNotOptimize(to.pixels.data());
  }
}

const Picture& small() {
  static const PicturePtr picture = Codec().resize(original(), kTo, ResizeFramework::coreGraphics);
  return *picture;
}

void encodePNG(benchmark::State& state) {
  std::size_t size = 0;
  for (auto _ : state) size = Codec().encodePNG(small()).value().size();
  state.counters["bytes"] = static_cast<double>(size);
}

/// libpng's fastest settings that give a file of about the same size.
std::size_t bareLibpng() {
  return veltrane::bench::barePNG(small(), PNG_COLOR_TYPE_RGB, [](png_structp png) {
    png_set_compression_level(png, 1);
    png_set_filter(png, 0, PNG_FILTER_SUB);
  });
}

void encodeWithLibpng(benchmark::State& state) {
  std::size_t size = 0;
  for (auto _ : state) size = bareLibpng();
  state.counters["bytes"] = static_cast<double>(size);
}

struct Scaler {
  const char* name;
  ResizeFramework framework;
  const char* bareName;
  void (*bare)(Picture&);
};
constexpr Scaler kScalers[] = {
    {"coreGraphics", ResizeFramework::coreGraphics, "zimg_bicubic", bareBicubic},
    {"coreImage", ResizeFramework::coreImage, "zimg_lanczos", bareLanczos},
    {"imageIO", ResizeFramework::imageIO, "zimg_triangle", bareTriangle},
    {"accelerate", ResizeFramework::accelerate, "pixman", barePixman},
    {"uikit", ResizeFramework::uikit, "pixman", barePixman},
};

void printQuality(const char* name, const Picture& scaled) {
  std::printf("QUALITY %.1f dB  %s\n", veltrane::bench::quality(original(), scaled), name);
}

void printQualities() {
  for (const Scaler& scaler : kScalers) {
    printQuality(scaler.name, *Codec().resize(original(), kTo, scaler.framework));
  }
  Picture to = target();
  bareLibyuv(to);
  printQuality("libyuv", to);
  const std::pair<const char*, int> filters[] = {{"OpenCV INTER_AREA", cv::INTER_AREA},
                                                 {"OpenCV INTER_LINEAR", cv::INTER_LINEAR}};
  for (const auto& [name, filter] : filters) {
    openCV(to, filter);
    printQuality(name, to);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string area = "OpenCV_area";
  std::vector<Pair> pairs = {
      {"coreGraphics / OpenCV's INTER_AREA", "coreGraphics", area, 0.30},
      {"PNG / libpng's fastest", "encodePNG", "libpng", 1.0},
  };
  benchmark::RegisterBenchmark(area.c_str(), theirs, openCVArea);
  benchmark::RegisterBenchmark("encodePNG", encodePNG);
  benchmark::RegisterBenchmark("libpng", encodeWithLibpng);
  for (const Scaler& scaler : kScalers) {
    benchmark::RegisterBenchmark(scaler.name, ours, scaler.framework);
    if (scaler.framework != ResizeFramework::uikit) {  // which has a library with another
      benchmark::RegisterBenchmark(scaler.bareName, theirs, scaler.bare);
    }
    pairs.push_back({std::string(scaler.name) + " / bare " + scaler.bareName, scaler.name,
                     scaler.bareName, 1.05});
  }
  benchmark::RegisterBenchmark("libyuv", theirs, bareLibyuv);
  printQualities();
  return veltrane::bench::runPairs(argc, argv, std::move(pairs));
}
