#include "platform/qtquick/multimedia/tone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace veltrane::qtquick::multimedia::test {
namespace {

constexpr int kRate = 44'100;

std::vector<std::int16_t> listen(Tone& tone, double seconds) {
  std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * kRate));
  // In pieces of odd sizes, as a device asks.
  for (std::size_t at = 0; at < samples.size();) {
    const std::size_t piece = std::min<std::size_t>(777, samples.size() - at);
    tone.fill(samples.data() + at, piece);
    at += piece;
  }
  return samples;
}

int loudest(const std::vector<std::int16_t>& samples) {
  int most = 0;
  for (const int sample : samples) most = std::max(most, std::abs(sample));
  return most;
}

/// By the zeros that a sine passes upwards while it can be heard.
double pitch(const std::vector<std::int16_t>& samples) {
  std::size_t first = 0, last = 0;
  int waves = -1;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    const bool isSilent = std::all_of(
        samples.begin() + static_cast<std::ptrdiff_t>(i),
        samples.begin() + static_cast<std::ptrdiff_t>(std::min(samples.size(), i + 200)),
        [](int sample) { return sample == 0; });
    if (waves > 3 && isSilent) break;
    if (samples[i - 1] < 0 && samples[i] >= 0) {
      if (waves < 0) first = i;
      last = i;
      ++waves;
    }
  }
  return waves > 0 ? waves * static_cast<double>(kRate) / static_cast<double>(last - first) : 0;
}

TEST(Tone, isSilentWithoutAFaceAndSoftWithOne) {
  Tone tone(kRate);
  EXPECT_EQ(loudest(listen(tone, 1)), 0);
  tone.setNearness(0.5);
  const int soft = loudest(listen(tone, 1));
  EXPECT_GT(soft, 2000);
  EXPECT_LT(soft, 6000);
  tone.setNearness(std::nullopt);
  listen(tone, 0.6);
  EXPECT_EQ(loudest(listen(tone, 1)), 0);
}

TEST(Tone, risesTowardsTheOval) {
  double last = 0;
  for (const double nearness : {-3.0, 0.3, 0.6, 1.0}) {
    Tone tone(kRate);
    tone.setNearness(std::max(0.0, nearness));
    const double heard = pitch(listen(tone, 0.4));
    EXPECT_NEAR(heard, Tone::frequency(nearness), 25);
    EXPECT_GT(heard, last + 50);
    last = heard;
    EXPECT_GT(Tone::notesPerSecond(nearness), 1);
  }
}

TEST(Tone, endsWithAnotherSoundAndThenSilence) {
  Tone tone(kRate);
  tone.setNearness(1);
  listen(tone, 0.07);
  tone.pictureTaken();
  const auto ending = listen(tone, 0.6);
  EXPECT_GT(loudest(ending), 6000) << "louder than the tone";
  EXPECT_EQ(loudest(listen(tone, 1)), 0) << "though a face is still there";
  const auto late = std::vector<std::int16_t>(ending.begin() + kRate / 8, ending.end());
  EXPECT_GT(pitch(late), Tone::frequency(1) + 200);
}

TEST(Tone, neverClicks) {
  Tone tone(kRate);
  std::vector<std::int16_t> all;
  for (const double nearness : {0.0, 1.0, 0.2, 0.9}) {
    tone.setNearness(nearness);
    const auto heard = listen(tone, 0.13);
    all.insert(all.end(), heard.begin(), heard.end());
  }
  tone.pictureTaken();
  const auto ending = listen(tone, 0.5);
  all.insert(all.end(), ending.begin(), ending.end());
  // The steepest of a sine of 1568 Hz at a fifth of the loudest.
  const double steepest = 32767 * 0.2 * 2 * 3.14159265 * 1568 / kRate * 1.1;
  for (std::size_t i = 1; i < all.size(); ++i) {
    ASSERT_LT(std::abs(all[i] - all[i - 1]), steepest) << i;
  }
}

}  // namespace
}  // namespace veltrane::qtquick::multimedia::test
