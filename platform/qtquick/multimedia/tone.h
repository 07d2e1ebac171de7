#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace veltrane::qtquick::multimedia {

/// The sounds as samples. What is to be heard is told on any thread; samples are taken on one.
class Tone {
 public:
  explicit Tone(int samplesPerSecond) : rate_(samplesPerSecond) {}

  /// Short soft notes, the higher and the closer together the nearer; silence without a face.
  void setNearness(std::optional<double> nearness);
  /// Two notes, and silence from then on.
  void pictureTaken() { isTaken_ = true; }

  /// The next samples.
  void fill(std::int16_t* samples, std::size_t count);

  /// Of the notes, at this nearness.
  static double frequency(double nearness);
  static double notesPerSecond(double nearness);

 private:
  double nextSample();
  void startNote();

  const double rate_;
  /// Below zero: no face.
  std::atomic<double> nearness_{-1};
  std::atomic<bool> isTaken_{false};
  bool isEnding_ = false;
  double phase_ = 0;
  double frequency_ = 0;
  double loudness_ = 0;
  /// Samples of the note that are over, that it has, and from its start to the next one's.
  std::size_t at_ = 0, length_ = 0, period_ = 0;
  std::size_t endNotes_ = 0;
};

}  // namespace veltrane::qtquick::multimedia
