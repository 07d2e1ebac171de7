#include "veltrane/face/frame_rows.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace veltrane::face {
namespace {

constexpr int kFractionBits = 16;

constexpr std::uint32_t packed(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  if constexpr (std::endian::native == std::endian::little) {
    return red | green << 8U | blue << 16U | 0xFF000000U;
  }
  return red << 24U | green << 16U | blue << 8U | 0xFFU;
}

constexpr std::uint32_t clamped(int value) {
  return static_cast<std::uint32_t>(std::clamp(value >> kFractionBits, 0, 255));
}

/// A row of luma, what is added to it for each colour, and where they come together.
struct Join {
  int scale, offset;
  const std::uint8_t* luma;
  const int *red, *green, *blue;
  int count;
  std::uint32_t* out;
};

// Inlined into a function for each instruction set: the loop is what all the time goes into.
[[gnu::always_inline]] inline void joinRow(const Join& row) {
  const Join r = row;
  const int half = (1 << (kFractionBits - 1)) - r.offset * r.scale;
  for (int x = 0; x < r.count; ++x) {
    const int light = r.luma[x] * r.scale + half;
    r.out[x] =
        packed(clamped(light + r.red[x]), clamped(light + r.green[x]), clamped(light + r.blue[x]));
  }
}

/// A row of colour samples, `step` bytes from one to the next, and what they add to two pixels
/// each.
struct Spread {
  const std::uint8_t *u, *v;
  int redV, greenU, greenV, blueU;
  int count;
  int *red, *green, *blue;
};

template <int kStep>
[[gnu::always_inline]] inline void spreadRow(const Spread& row) {
  const Spread r = row;
  for (std::ptrdiff_t i = 0; i < r.count; ++i) {
    const int blueness = r.u[i * kStep] - 128;
    const int redness = r.v[i * kStep] - 128;
    const int green = r.greenU * blueness + r.greenV * redness;
    r.red[2 * i] = r.red[2 * i + 1] = r.redV * redness;
    r.green[2 * i] = r.green[2 * i + 1] = green;
    r.blue[2 * i] = r.blue[2 * i + 1] = r.blueU * blueness;
  }
}

[[gnu::always_inline]] inline void spreadRow(const Spread& row, int step) {
  if (step == 1) return spreadRow<1>(row);
  if (step == 2) return spreadRow<2>(row);
  spreadRow<4>(row);
}

#if defined(__x86_64__) && defined(__GNUC__)

__attribute__((target("avx2"))) void joinRowWide(const Join& row) {
  joinRow(row);
}
__attribute__((target("avx2"))) void spreadRowWide(const Spread& row, int step) {
  spreadRow(row, step);
}

bool hasWideRows() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

void join(const Join& row) {
  if (hasWideRows()) return joinRowWide(row);
  joinRow(row);
}
void spread(const Spread& row, int step) {
  if (hasWideRows()) return spreadRowWide(row, step);
  spreadRow(row, step);
}

#else

void join(const Join& row) {
  joinRow(row);
}
void spread(const Spread& row, int step) {
  spreadRow(row, step);
}

#endif

}  // namespace

FrameRows::Coefficients FrameRows::coefficientsOf(const PixelBuffer& frame) {
  const bool isHD = frame.matrix == ColorMatrix::bt709;
  const bool isFull = frame.range == ColorRange::full;
  const double red = isHD ? 0.2126 : 0.299;
  const double blue = isHD ? 0.0722 : 0.114;
  const double green = 1 - red - blue;
  const double luma = isFull ? 1 : 255.0 / 219;
  const double chroma = isFull ? 1 : 255.0 / 224;
  const auto fixed = [](double value) {
    return static_cast<int>(std::lround(value * (1 << kFractionBits)));
  };
  return {isFull ? 0 : 16,
          fixed(luma),
          fixed(2 * (1 - red) * chroma),
          fixed(-2 * (1 - blue) * blue / green * chroma),
          fixed(-2 * (1 - red) * red / green * chroma),
          fixed(2 * (1 - blue) * chroma)};
}

FrameRows::FrameRows(const PixelBuffer& frame, int first, int count)
    : frame_(frame), by_(coefficientsOf(frame)), first_(first), count_(count) {
  const auto columns = static_cast<std::size_t>(count);
  if (frame.format == PixelFormat::rgb || frame.format == PixelFormat::bgra) return;
  for (auto* sums : {&chroma_.red, &chroma_.green, &chroma_.blue}) sums->resize(columns + 1);
  if (frame.format == PixelFormat::yuy2) luma_.resize(columns);
}

void FrameRows::read(int y, std::uint32_t* out) {
  switch (frame_.format) {
    case PixelFormat::nv12:
    case PixelFormat::i420:
      return readPlanes(y, out);
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

void FrameRows::readPlanes(int y, std::uint32_t* out) {
  const bool isPaired = frame_.format == PixelFormat::nv12;
  // Two rows of luma share one of colour.
  if (chromaRow_ != y / 2) {
    chromaRow_ = y / 2;
    const std::uint8_t* const u = row(1, y / 2, isPaired ? first_ : first_ / 2);
    const std::uint8_t* const v = isPaired ? u + 1 : row(2, y / 2, first_ / 2);
    readChroma(u, v, isPaired ? 2 : 1);
  }
  join({by_.luma, by_.lumaOffset, row(0, y, first_), chroma_.red.data(), chroma_.green.data(),
        chroma_.blue.data(), count_, out});
}

void FrameRows::readInterleaved(const std::uint8_t* samples, std::uint32_t* out) {
  readChroma(samples + 1, samples + 3, 4);
  for (std::size_t x = 0; x < luma_.size(); ++x) luma_[x] = samples[2 * x];
  join({by_.luma, by_.lumaOffset, luma_.data(), chroma_.red.data(), chroma_.green.data(),
        chroma_.blue.data(), count_, out});
}

void FrameRows::readColors(const std::uint8_t* samples, int step, int red,
                           std::uint32_t* out) const {
  for (int x = 0; x < count_; ++x, samples += step) {
    out[x] = packed(samples[red], samples[1], samples[2 - red]);
  }
}

/// `step`: bytes from a sample to the next.
void FrameRows::readChroma(const std::uint8_t* u, const std::uint8_t* v, int step) {
  spread({u, v, by_.redV, by_.greenU, by_.greenV, by_.blueU, count_ / 2 + count_ % 2,
          chroma_.red.data(), chroma_.green.data(), chroma_.blue.data()},
         step);
}

}  // namespace veltrane::face
