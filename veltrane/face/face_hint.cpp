#include "veltrane/face/face_hint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace veltrane {
namespace {

/// Cells along each side of the part that is looked at, and samples along each side of a cell.
constexpr int kGrid = 48;
constexpr int kSamples = 4;
/// Contrast below which nothing can be said of sharpness: noise and plain walls.
constexpr double kPlain = 6;

double areaOf(const Rect& rect) {
  return rect.width * rect.height;
}

double middleX(const Rect& rect) {
  return rect.x + rect.width / 2;
}

/// How far a rectangle reaches over each side of another, below zero where it does not.
struct Overhang {
  Overhang(const Rect& face, const Rect& oval)
      : left(oval.x - face.x),
        right(face.x + face.width - oval.x - oval.width),
        top(oval.y - face.y),
        bottom(face.y + face.height - oval.y - oval.height) {}
  double most() const { return std::max({left, right, top, bottom}); }

  double left, right, top, bottom;
};

/// Luma as it lies in a frame's memory.
class LumaReader {
 public:
  explicit LumaReader(const PixelBuffer& frame) : frame_(frame) {}

  int at(int x, int y) const {
    const auto* row = frame_.planes[0].data + y * frame_.planes[0].stride;
    switch (frame_.format) {
      case PixelFormat::nv12:
      case PixelFormat::i420:
        return row[x];
      case PixelFormat::yuy2:
        return row[std::ptrdiff_t{2} * x];
      case PixelFormat::rgb:
        return mixed(row + std::ptrdiff_t{3} * x);
      case PixelFormat::bgra:
        return mixed(row + std::ptrdiff_t{4} * x);
    }
    return 0;
  }
  /// From 0 to 1.
  double normalised(double luma) const {
    const bool isColor = frame_.format == PixelFormat::rgb || frame_.format == PixelFormat::bgra;
    const bool isFull = isColor || frame_.range == ColorRange::full;
    return std::clamp(isFull ? luma / 255 : (luma - 16) / 219, 0.0, 1.0);
  }

 private:
  /// Red and blue count alike: near enough to tell dark from bright.
  static int mixed(const std::uint8_t* pixel) { return (pixel[0] + 2 * pixel[1] + pixel[2]) / 4; }

  const PixelBuffer& frame_;
};

struct PixelRect {
  int x, y, width, height;
};

/// Where a part of the upright picture lies in the memory of a frame, cut off at its edges.
PixelRect partIn(const PixelBuffer& frame, const Rect& part) {
  const double left = std::clamp(part.x, 0.0, 1.0);
  const double right = std::clamp(part.x + part.width, 0.0, 1.0);
  // Down, as rows run.
  const double top = std::clamp(1 - part.y - part.height, 0.0, 1.0);
  const double bottom = std::clamp(1 - part.y, 0.0, 1.0);
  const auto lying = [&]() -> std::array<double, 4> {
    switch (frame.turn) {
      case Turn::none:
        return {left, top, right, bottom};
      case Turn::quarter:
        return {top, 1 - right, bottom, 1 - left};
      case Turn::half:
        return {1 - right, 1 - bottom, 1 - left, 1 - top};
      case Turn::threeQuarters:
        return {1 - bottom, left, 1 - top, right};
    }
    return {0, 0, 1, 1};
  }();
  const auto span = [](double from, double to, int length) {
    const int first = std::clamp(static_cast<int>(from * length), 0, length - 1);
    return std::pair(first, std::clamp(static_cast<int>(to * length), first + 1, length) - first);
  };
  const auto [x, width] = span(lying[0], lying[2], frame.size.width);
  const auto [y, height] = span(lying[1], lying[3], frame.size.height);
  return {x, y, width, height};
}

/// A part of a frame in averages.
class Cells {
 public:
  Cells(const LumaReader& luma, const PixelRect& part)
      : across_(std::min(kGrid, part.width)), down_(std::min(kGrid, part.height)) {
    values_.reserve(static_cast<std::size_t>(across_) * static_cast<std::size_t>(down_));
    for (int row = 0; row < down_; ++row) {
      const Span y = spanOf(row, down_, part.y, part.height);
      for (int column = 0; column < across_; ++column) {
        values_.push_back(average(luma, spanOf(column, across_, part.x, part.width), y));
      }
    }
  }

  double mean() const { return std::accumulate(values_.begin(), values_.end(), 0.0) / count(); }
  double contrast() const {
    const double middle = mean();
    double squares = 0;
    for (const double value : values_) squares += (value - middle) * (value - middle);
    return std::sqrt(squares / count());
  }
  /// A part of a few pixels is neither sharp nor blurred.
  bool canTellDetail() const { return across_ == kGrid && down_ == kGrid; }
  /// How much cells differ from those beside them.
  double detail() const {
    double sum = 0;
    for (int row = 1; row + 1 < down_; ++row) {
      for (int column = 1; column + 1 < across_; ++column) {
        const double twice = 2 * at(column, row);
        sum += std::abs(twice - at(column - 1, row) - at(column + 1, row)) +
               std::abs(twice - at(column, row - 1) - at(column, row + 1));
      }
    }
    return sum / (2.0 * (across_ - 2) * (down_ - 2));
  }

 private:
  struct Span {
    int first, step, samples;
  };

  static Span spanOf(int cell, int cells, int start, int length) {
    const auto edge = [&](int at) {
      return start + static_cast<int>(std::int64_t{at} * length / cells);
    };
    const int room = edge(cell + 1) - edge(cell);
    const int samples = std::min(kSamples, room);
    return {edge(cell), room / samples, samples};
  }
  static double average(const LumaReader& luma, const Span& x, const Span& y) {
    int sum = 0;
    for (int row = 0; row < y.samples; ++row) {
      for (int column = 0; column < x.samples; ++column) {
        sum += luma.at(x.first + column * x.step, y.first + row * y.step);
      }
    }
    return sum / static_cast<double>(x.samples * y.samples);
  }
  double at(int column, int row) const {
    return values_[static_cast<std::size_t>(row) * static_cast<std::size_t>(across_) +
                   static_cast<std::size_t>(column)];
  }
  double count() const { return static_cast<double>(values_.size()); }

  int across_, down_;
  std::vector<double> values_;
};

}  // namespace

namespace face {

// Sharpness is told by second differences between cells that are a fixed share of the part, so that
// it means the same for small and large pictures, against the part's own contrast, so that light
// does not count. Cells are averages, so that noise hardly counts.
FrameLight lightOf(const PixelBuffer& frame, const std::vector<FaceObservation>& faces) {
  Rect part{0, 0, 1, 1};
  if (!faces.empty()) {
    part = std::max_element(faces.begin(), faces.end(), [](const auto& one, const auto& other) {
             return areaOf(one.boundingBox) < areaOf(other.boundingBox);
           })->boundingBox;
  }
  const LumaReader luma(frame);
  const Cells cells(luma, partIn(frame, part));
  FrameLight light{.mean = luma.normalised(cells.mean()), .sharpness = std::nullopt};
  const double contrast = cells.contrast();
  if (contrast >= kPlain && cells.canTellDetail()) light.sharpness = cells.detail() / contrast;
  return light;
}

FaceHint hintFor(const std::vector<Rect>& faces, const Rect& oval, const FrameLight& light,
                 bool isMirrored) {
  const bool isDark = light.mean < kDark;
  if (faces.empty()) return isDark ? FaceHint::tooDark : FaceHint::noFace;
  if (faces.size() > 1) return FaceHint::severalFaces;
  if (isDark) return FaceHint::tooDark;
  const Rect& one = faces.front();
  if (one.width > oval.width || one.height > oval.height) return FaceHint::moveBack;
  const Overhang over(one, oval);
  if (over.most() <= 0) {
    const bool isBlurred = light.sharpness && *light.sharpness < kBlurred;
    return isBlurred ? FaceHint::blurred : FaceHint::none;
  }
  if (one.width < kSmallFace * oval.width) return FaceHint::comeCloser;
  // Towards the side that lacks most; a picture that is no mirror shows the person's right at left.
  if (std::max(over.top, over.bottom) > std::max(over.left, over.right)) {
    return over.top > over.bottom ? FaceHint::moveDown : FaceHint::moveUp;
  }
  const bool isTooFarLeft = middleX(one) < middleX(oval);
  return isTooFarLeft == isMirrored ? FaceHint::moveRight : FaceHint::moveLeft;
}

std::optional<double> nearness(const std::vector<Rect>& faces, const Rect& oval) {
  if (faces.empty()) return std::nullopt;
  double best = 0;
  for (const Rect& one : faces) {
    best = std::max(best, 1 - std::max(0.0, Overhang(one, oval).most()) / oval.width);
  }
  return best;
}

}  // namespace face

FaceHint SteadyHint::next(FaceHint hint) {
  held_ = hint == candidate_ ? held_ + 1 : 1;
  candidate_ = hint;
  missed_ = hint == shown_ ? 0 : missed_ + 1;
  if (missed_ >= kFramesToGo) shown_ = FaceHint::none;
  if (held_ >= kFramesToShow) shown_ = hint;
  if (shown_ == hint) missed_ = 0;
  return shown_;
}

}  // namespace veltrane
