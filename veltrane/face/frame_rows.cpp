#include "veltrane/face/frame_rows.h"

#include "veltrane/base/wipe.h"

namespace veltrane::face {

FrameRows::FrameRows(const PixelBuffer& frame, int first, int count)
    : frame_(frame),
      weights_(colorWeightsOf(frame.matrix, frame.range)),
      first_(first),
      count_(count) {
  if (frame.format != PixelFormat::yuy2) return;
  const auto columns = static_cast<std::size_t>(count);
  luma_.resize(columns);
  blue_.resize(columns / 2 + columns % 2);
  red_.resize(blue_.size());
}

FrameRows::~FrameRows() {
  for (auto* samples : {&luma_, &blue_, &red_}) wipe(samples->data(), samples->size());
}

void FrameRows::read(int y, std::uint32_t* out) {
  switch (frame_.format) {
    case PixelFormat::nv12: {
      const std::uint8_t* const pairs = row(1, y / 2, first_);
      return joinColors(weights_, {row(0, y, first_), pairs, pairs + 1, 2}, count_, out);
    }
    case PixelFormat::i420:
      return joinColors(
          weights_, {row(0, y, first_), row(1, y / 2, first_ / 2), row(2, y / 2, first_ / 2), 1},
          count_, out);
    case PixelFormat::yuy2:
      return readInterleaved(row(0, y, 2 * first_), out);
    case PixelFormat::rgb:
      return readColors(row(0, y, 3 * first_), 3, 0, out);
    case PixelFormat::bgra:
      return readColors(row(0, y, 4 * first_), 4, 2, out);
  }
}

const std::uint8_t* FrameRows::row(std::size_t plane, int y, int column) const {
  return frame_.planes[plane].data + y * frame_.planes[plane].stride + column;
}

void FrameRows::readInterleaved(const std::uint8_t* samples, std::uint32_t* out) {
  for (std::size_t x = 0; x < luma_.size(); ++x) luma_[x] = samples[2 * x];
  for (std::size_t x = 0; x < blue_.size(); ++x) {
    blue_[x] = samples[4 * x + 1];
    red_[x] = samples[4 * x + 3];
  }
  joinColors(weights_, {luma_.data(), blue_.data(), red_.data(), 1}, count_, out);
}

void FrameRows::readColors(const std::uint8_t* samples, int step, int red,
                           std::uint32_t* out) const {
  for (int x = 0; x < count_; ++x, samples += step) {
    out[x] = packed(samples[red], samples[1], samples[2 - red]);
  }
}

}  // namespace veltrane::face
