#include "veltrane/face/frame_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

namespace veltrane::face {
namespace {

constexpr int kFractionBits = 16;

/// Of the conversion to red, green and blue, with 16 bits after the point.
struct Coefficients {
  int lumaOffset, luma, redV, greenU, greenV, blueU;
};

Coefficients coefficientsOf(const PixelBuffer& frame) {
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

/// What the colour samples add to each pixel of a row.
struct Chroma {
  explicit Chroma(int width)
      : red(static_cast<std::size_t>(width) + 1), green(red.size()), blue(red.size()) {}
  std::vector<int> red, green, blue;
};

/// `step`: bytes from a sample to the next.
void readChroma(const Coefficients& by, const std::uint8_t* u, const std::uint8_t* v, int step,
                int width, Chroma& chroma) {
  for (int x = 0; x < width; x += 2) {
    const std::ptrdiff_t at = std::ptrdiff_t{x} / 2 * step;
    const int blueness = u[at] - 128;
    const int redness = v[at] - 128;
    chroma.red[x] = chroma.red[x + 1] = by.redV * redness;
    chroma.green[x] = chroma.green[x + 1] = by.greenU * blueness + by.greenV * redness;
    chroma.blue[x] = chroma.blue[x + 1] = by.blueU * blueness;
  }
}

constexpr std::uint32_t packed(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  if constexpr (std::endian::native == std::endian::little) {
    return red | green << 8U | blue << 16U | 0xFF000000U;
  }
  return red << 24U | green << 16U | blue << 8U | 0xFFU;
}

constexpr std::uint32_t clamped(int value) {
  return static_cast<std::uint32_t>(std::clamp(value >> kFractionBits, 0, 255));
}

// Inlined into a function for each instruction set: the loop is what all the time goes into.
[[gnu::always_inline]] inline void joinRow(const Coefficients& by, const std::uint8_t* luma,
                                           const Chroma& chroma, int width, std::uint32_t* out) {
  const int* const red = chroma.red.data();
  const int* const green = chroma.green.data();
  const int* const blue = chroma.blue.data();
  const int half = (1 << (kFractionBits - 1)) - by.lumaOffset * by.luma;
  const int scale = by.luma;
  for (int x = 0; x < width; ++x) {
    const int light = luma[x] * scale + half;
    out[x] = packed(clamped(light + red[x]), clamped(light + green[x]), clamped(light + blue[x]));
  }
}

#if defined(__x86_64__) && defined(__GNUC__)

__attribute__((target("avx2"))) void joinRowWide(const Coefficients& by, const std::uint8_t* luma,
                                                 const Chroma& chroma, int width,
                                                 std::uint32_t* out) {
  joinRow(by, luma, chroma, width, out);
}

bool hasWideRows() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

void join(const Coefficients& by, const std::uint8_t* luma, const Chroma& chroma, int width,
          std::uint32_t* out) {
  if (hasWideRows()) return joinRowWide(by, luma, chroma, width, out);
  joinRow(by, luma, chroma, width, out);
}

#else

void join(const Coefficients& by, const std::uint8_t* luma, const Chroma& chroma, int width,
          std::uint32_t* out) {
  joinRow(by, luma, chroma, width, out);
}

#endif

/// Reads a frame's rows, from top to bottom, as pixels of a picture.
class RowReader {
 public:
  explicit RowReader(const PixelBuffer& frame)
      : frame_(frame),
        by_(coefficientsOf(frame)),
        chroma_(hasChroma() ? frame.size.width : 0),
        luma_(frame.format == PixelFormat::yuy2 ? static_cast<std::size_t>(frame.size.width) : 0) {}

  void read(int y, std::uint32_t* out) {
    switch (frame_.format) {
      case PixelFormat::nv12:
      case PixelFormat::i420:
        return readPlanes(y, out);
      case PixelFormat::yuy2:
        return readInterleaved(row(0, y), out);
      case PixelFormat::rgb:
        return readColors(row(0, y), 3, 0, out);
      case PixelFormat::bgra:
        return readColors(row(0, y), 4, 2, out);
    }
  }

 private:
  bool hasChroma() const {
    return frame_.format != PixelFormat::rgb && frame_.format != PixelFormat::bgra;
  }
  const std::uint8_t* row(std::size_t plane, int y) const {
    return frame_.planes[plane].data + y * frame_.planes[plane].stride;
  }

  void readPlanes(int y, std::uint32_t* out) {
    const bool isPaired = frame_.format == PixelFormat::nv12;
    // Two rows of luma share one of colour.
    if (y % 2 == 0) {
      const std::uint8_t* const u = row(1, y / 2);
      const std::uint8_t* const v = isPaired ? u + 1 : row(2, y / 2);
      readChroma(by_, u, v, isPaired ? 2 : 1, frame_.size.width, chroma_);
    }
    join(by_, row(0, y), chroma_, frame_.size.width, out);
  }

  void readInterleaved(const std::uint8_t* samples, std::uint32_t* out) {
    readChroma(by_, samples + 1, samples + 3, 4, frame_.size.width, chroma_);
    for (std::size_t x = 0; x < luma_.size(); ++x) luma_[x] = samples[2 * x];
    join(by_, luma_.data(), chroma_, frame_.size.width, out);
  }

  void readColors(const std::uint8_t* samples, int step, int red, std::uint32_t* out) const {
    for (int x = 0; x < frame_.size.width; ++x, samples += step) {
      out[x] = packed(samples[red], samples[1], samples[2 - red]);
    }
  }

  const PixelBuffer& frame_;
  const Coefficients by_;
  Chroma chroma_;
  std::vector<std::uint8_t> luma_;
};

/// Where the pixels of a frame's row come to lie in the upright picture.
struct Placement {
  std::ptrdiff_t first;
  std::ptrdiff_t step;
};

Placement placementOf(const PixelBuffer& frame, std::ptrdiff_t y) {
  const std::ptrdiff_t width = frame.size.width;
  const std::ptrdiff_t height = frame.size.height;
  switch (frame.turn) {
    case Turn::none:
      return {y * width, 1};
    case Turn::quarter:
      return {height - 1 - y, height};
    case Turn::half:
      return {(height - y) * width - 1, -1};
    case Turn::threeQuarters:
      return {(width - 1) * height + y, -height};
  }
  return {};
}

struct WipedPicture final : Picture {
  WipedPicture(PixelSize pixelSize, std::size_t bytes) : Picture{pixelSize, Pixels(bytes), true} {}
  ~WipedPicture() { wipe(pixels.data(), pixels.size()); }
  WipedPicture(const WipedPicture&) = delete;
  WipedPicture& operator=(const WipedPicture&) = delete;
};

}  // namespace

PicturePtr pictureFrom(const PixelBuffer& frame) {
  if (!frame.isSound()) return nullptr;
  const auto width = static_cast<std::size_t>(frame.size.width);
  const std::size_t bytes =
      width * static_cast<std::size_t>(frame.size.height) * Picture::kBytesAPixel;
  auto picture = std::make_shared<WipedPicture>(frame.uprightSize(), bytes);
  RowReader reader(frame);
  std::vector<std::uint32_t> row(width);
  for (int y = 0; y < frame.size.height; ++y) {
    reader.read(y, row.data());
    const auto [first, step] = placementOf(frame, y);
    std::uint8_t* to = picture->pixels.data() + first * std::ptrdiff_t{Picture::kBytesAPixel};
    if (step == 1) {
      std::memcpy(to, row.data(), width * Picture::kBytesAPixel);
      continue;
    }
    for (const std::uint32_t pixel : row) {
      std::memcpy(to, &pixel, Picture::kBytesAPixel);
      to += step * std::ptrdiff_t{Picture::kBytesAPixel};
    }
  }
  wipe(row.data(), row.size() * sizeof(std::uint32_t));
  return picture;
}

}  // namespace veltrane::face
