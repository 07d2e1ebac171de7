#include <libyuv/planar_functions.h>
#include <zimg.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "platform/pictures/halving.h"
#include "platform/pictures/pixels.h"
#include "platform/pictures/scalers.h"
#include "veltrane/base/wipe.h"

namespace veltrane::pictures {
namespace {

constexpr std::size_t kAlignment = 64;
/// zimg's tables take time with the square of this, and its rows at hand memory.
constexpr int kMaxShrinking = 16;

struct Free {
  void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
  void operator()(void* memory) const { std::free(memory); }
};
using Graph = std::unique_ptr<zimg_filter_graph, Free>;

zimg_image_format format(const Picture& picture, bool isOpaque) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(picture.size.width);
  format.height = static_cast<unsigned>(picture.size.height);
  format.pixel_type = ZIMG_PIXEL_BYTE;
  format.color_family = ZIMG_COLOR_RGB;
  format.matrix_coefficients = ZIMG_MATRIX_RGB;
  format.pixel_range = ZIMG_RANGE_FULL;
  format.alpha = isOpaque ? ZIMG_ALPHA_NONE : ZIMG_ALPHA_PREMULTIPLIED;
  return format;
}

void setFilter(zimg_graph_builder_params& parameters, Filter filter) {
  switch (filter) {
    case Filter::triangle:
      parameters.resample_filter = ZIMG_RESIZE_BILINEAR;
      break;
    case Filter::bicubic:
      // Catmull and Rom's spline.
      parameters.resample_filter = ZIMG_RESIZE_BICUBIC;
      parameters.filter_param_a = 0;
      parameters.filter_param_b = 0.5;
      break;
    case Filter::lanczos:
      parameters.resample_filter = ZIMG_RESIZE_LANCZOS;
      parameters.filter_param_a = 3;
      break;
  }
}

Graph makeGraph(const Picture& from, const Picture& to, Filter filter) {
  const zimg_image_format source = format(from, from.isOpaque);
  const zimg_image_format target = format(to, from.isOpaque);
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  parameters.cpu_type = ZIMG_CPU_AUTO_64B;
  setFilter(parameters, filter);
  return Graph(zimg_filter_graph_build(&source, &target, &parameters));
}

/// zimg wants each colour in a plane of its own, and only a few rows at a time: the planes are
/// rings of rows that stay in the processor's cache.
struct Ring {
  unsigned mask = 0;
  std::size_t stride = 0;

  Ring(int width, unsigned rows) : mask(zimg_select_buffer_mask(rows)) {
    stride = (static_cast<std::size_t>(width) + kAlignment - 1) / kAlignment * kAlignment;
  }
  std::size_t bytes(unsigned height) const { return stride * std::min(mask, height) + stride; }
};

class Scaling {
 public:
  Scaling(const Picture& from, Picture& to, Graph graph)
      : from_(from), to_(to), graph_(std::move(graph)) {}

  bool run();

 private:
  int planes() const { return from_.isOpaque ? 3 : 4; }
  std::uint8_t* at(const zimg_image_buffer& ring, int plane, unsigned y, unsigned x) const {
    if (plane >= planes()) return nullptr;
    const auto& rows = ring.plane[plane];
    return static_cast<std::uint8_t*>(rows.data) +
           static_cast<std::ptrdiff_t>(y & rows.mask) * rows.stride + x;
  }
  zimg_image_buffer lay(const Ring& ring, unsigned height, std::uint8_t*& memory) const;
  void split(unsigned y, unsigned left, unsigned right) const;
  void merge(unsigned y, unsigned left, unsigned right);

  const Picture& from_;
  Picture& to_;
  Graph graph_;
  zimg_image_buffer input_{};
  zimg_image_buffer output_{};
};

zimg_image_buffer Scaling::lay(const Ring& ring, unsigned height, std::uint8_t*& memory) const {
  zimg_image_buffer buffer{};
  buffer.version = ZIMG_API_VERSION;
  for (int i = 0; i < planes(); ++i, memory += ring.bytes(height)) {
    buffer.plane[i] = {memory, static_cast<std::ptrdiff_t>(ring.stride), ring.mask};
  }
  return buffer;
}

/// libyuv's names count bytes from the other end; to zimg one colour is as good as another.
void Scaling::split(unsigned y, unsigned left, unsigned right) const {
  libyuv::SplitARGBPlane(row(from_, static_cast<int>(y)) + left * Picture::kBytesAPixel, 0,
                         at(input_, 0, y, left), 0, at(input_, 1, y, left), 0,
                         at(input_, 2, y, left), 0, at(input_, 3, y, left), 0,
                         static_cast<int>(right - left), 1);
}

void Scaling::merge(unsigned y, unsigned left, unsigned right) {
  std::uint8_t* pixels = row(to_, static_cast<int>(y)) + left * Picture::kBytesAPixel;
  libyuv::MergeARGBPlane(at(output_, 0, y, left), 0, at(output_, 1, y, left), 0,
                         at(output_, 2, y, left), 0, at(output_, 3, y, left), 0, pixels, 0,
                         static_cast<int>(right - left), 1);
  if (!from_.isOpaque) clampToAlpha(pixels, right - left);
}

bool Scaling::run() {
  unsigned inputRows = 0;
  unsigned outputRows = 0;
  std::size_t scratch = 0;
  zimg_filter_graph_get_input_buffering(graph_.get(), &inputRows);
  zimg_filter_graph_get_output_buffering(graph_.get(), &outputRows);
  zimg_filter_graph_get_tmp_size(graph_.get(), &scratch);
  const Ring input(from_.size.width, inputRows);
  const Ring output(to_.size.width, outputRows);
  const auto fromHeight = static_cast<unsigned>(from_.size.height);
  const auto toHeight = static_cast<unsigned>(to_.size.height);
  const std::size_t rings = input.bytes(fromHeight) + output.bytes(toHeight);
  const std::size_t total = rings * static_cast<std::size_t>(planes()) + scratch;
  const std::unique_ptr<void, Free> memory(
      std::aligned_alloc(kAlignment, (total + kAlignment - 1) / kAlignment * kAlignment));
  if (!memory) return false;
  auto* next = static_cast<std::uint8_t*>(memory.get());
  input_ = lay(input, fromHeight, next);
  output_ = lay(output, toHeight, next);
  zimg_image_buffer_const source{};
  source.version = ZIMG_API_VERSION;
  for (int i = 0; i < planes(); ++i) {
    source.plane[i] = {input_.plane[i].data, input_.plane[i].stride, input_.plane[i].mask};
  }
  const auto unpack = [](void* self, unsigned y, unsigned left, unsigned right) {
    static_cast<const Scaling*>(self)->split(y, left, right);
    return 0;
  };
  const auto pack = [](void* self, unsigned y, unsigned left, unsigned right) {
    static_cast<Scaling*>(self)->merge(y, left, right);
    return 0;
  };
  const bool isScaled = zimg_filter_graph_process(graph_.get(), &source, &output_, next, unpack,
                                                  this, pack, this) == ZIMG_ERROR_SUCCESS;
  wipe(memory.get(), total);
  return isScaled;
}

}  // namespace

bool scaleWithZimg(const Picture& from, Picture& to, Filter filter) {
  return scaledAfterHalving(from, to.size, kMaxShrinking, [&](const Picture& source) {
    Graph graph = makeGraph(source, to, filter);
    return graph && Scaling(source, to, std::move(graph)).run();
  });
}

}  // namespace veltrane::pictures
