#include "platform/qtquick/multimedia/tone.h"

#include <algorithm>
#include <cmath>

namespace veltrane::qtquick::multimedia {
namespace {

constexpr double kTurn = 2 * 3.141592653589793;
constexpr double kLowest = 330;
constexpr double kOctaves = 1.5;
constexpr double kSoft = 0.12;
constexpr double kNote = 0.11;  // seconds
/// How long nothing is heard before it is looked whether there is a face.
constexpr double kPatience = 0.05;

// A fifth upwards, which no nearness sounds like.
constexpr double kEnding[] = {1046.5, 1568};
constexpr double kEndingNote = 0.13;
constexpr double kClear = 0.2;

}  // namespace

double Tone::frequency(double nearness) {
  return kLowest * std::exp2(kOctaves * std::clamp(nearness, 0.0, 1.0));
}

double Tone::notesPerSecond(double nearness) {
  return 2 + 3 * std::clamp(nearness, 0.0, 1.0);
}

void Tone::setNearness(std::optional<double> nearness) {
  nearness_ = nearness.value_or(-1);
}

void Tone::startNote() {
  const auto samples = [this](double seconds) {
    return static_cast<std::size_t>(std::max(1.0, seconds * rate_));
  };
  at_ = 0;
  phase_ = 0;
  loudness_ = 0;
  length_ = period_ = samples(kPatience);
  isEnding_ = isEnding_ || isTaken_;
  if (isEnding_) {
    if (endNotes_ == std::size(kEnding)) return;
    frequency_ = kEnding[endNotes_++];
    loudness_ = kClear;
    length_ = period_ = samples(kEndingNote);
    return;
  }
  const double nearness = nearness_;
  if (nearness < 0) return;
  frequency_ = frequency(nearness);
  loudness_ = kSoft;
  length_ = samples(kNote);
  period_ = samples(1 / notesPerSecond(nearness));
}

// A note swells and fades, so that nothing clicks.
double Tone::nextSample() {
  if (at_ >= period_ || (isTaken_ && !isEnding_ && at_ >= length_)) startNote();
  const std::size_t at = at_++;
  if (loudness_ <= 0 || at >= length_) return 0;
  phase_ = std::fmod(phase_ + kTurn * frequency_ / rate_, kTurn);
  const double swell = std::sin(kTurn / 2 * static_cast<double>(at) / static_cast<double>(length_));
  return loudness_ * swell * swell * std::sin(phase_);
}

void Tone::fill(std::int16_t* samples, std::size_t count) {
  constexpr double kLargest = 32767;
  std::generate_n(samples, count, [this] {
    return static_cast<std::int16_t>(std::lround(kLargest * nextSample()));
  });
}

}  // namespace veltrane::qtquick::multimedia
