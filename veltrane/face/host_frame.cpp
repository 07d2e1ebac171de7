#include "veltrane/face/host_frame.h"

#include <utility>

namespace veltrane {
namespace {

PixelBufferPtr copied(const Samples420& samples) {
  const auto made = PixelBuffer::allocate(PixelFormat::i420, samples.size);
  made.buffer->matrix = samples.matrix;
  made.buffer->range = samples.range;
  made.buffer->turn = samples.turn;
  const auto fill = [&made](std::size_t plane, const std::uint8_t* from, std::ptrdiff_t stride,
                            std::ptrdiff_t step) {
    const PixelSize size = made.buffer->planeSize(plane);
    std::uint8_t* to = made.planes[plane];
    for (int y = 0; y < size.height; ++y, from += stride, to += made.buffer->planes[plane].stride) {
      for (int x = 0; x < size.width; ++x) to[x] = from[x * step];
    }
  };
  fill(0, samples.luma, samples.lumaStride, 1);
  fill(1, samples.blue, samples.chromaStride, samples.chromaStep);
  fill(2, samples.red, samples.chromaStride, samples.chromaStep);
  return made.buffer;
}

}  // namespace

PixelBufferPtr frameOf(const Samples420& samples, std::shared_ptr<const void> memory) {
  const bool isPlanar = samples.chromaStep == 1;
  const bool isPaired = samples.chromaStep == 2 && samples.red == samples.blue + 1;
  const int columns = samples.size.width / 2 + samples.size.width % 2;
  const bool isSound = isBearable(samples.size) && samples.luma && samples.blue && samples.red &&
                       samples.chromaStep > 0;
  const auto fits = [](std::ptrdiff_t stride, std::ptrdiff_t length) {
    return stride >= length || -stride >= length;
  };
  if (!isSound || !fits(samples.lumaStride, samples.size.width) ||
      !fits(samples.chromaStride, (columns - 1) * samples.chromaStep + 1)) {
    return nullptr;
  }
  if (!isPlanar && !isPaired) return copied(samples);
  auto frame = std::make_shared<PixelBuffer>(PixelBuffer{
      .format = isPlanar ? PixelFormat::i420 : PixelFormat::nv12,
      .size = samples.size,
      .planes = {{samples.luma, samples.lumaStride},
                 {samples.blue, samples.chromaStride},
                 {isPlanar ? samples.red : nullptr, isPlanar ? samples.chromaStride : 0}},
      .matrix = samples.matrix,
      .range = samples.range,
      .turn = samples.turn,
      .memory = std::move(memory)});
  // A pair's last byte may lie behind the row that its stride tells of.
  return frame->isSound() ? frame : copied(samples);
}

}  // namespace veltrane
