#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/face/camera.h"

namespace veltrane::qtquick::multimedia {

struct OfferedDevice {
  enum Position { unknown, front, back };
  Position position = unknown;
  /// What the system would take.
  bool isDefault = false;
};

/// The front camera; else one that is no back camera; else any. Of several the system's own choice.
std::optional<std::size_t> chooseDevice(const std::vector<OfferedDevice>& devices);

struct OfferedFormat {
  /// How well a face's picture can be had from it.
  enum Kind { unusable, compressed, usable, halvedChroma };
  Kind kind = unusable;
  PixelSize resolution;
  double framesPerSecond = 0;
};

/// Fewer pictures a second are too few to follow a face with.
inline constexpr double kLeastRate = 15;

/// The 4:2:0 format (`halvedChroma`) of the highest resolution, however slow it is; of several with
/// as many pixels rather one that is fast enough (one that does not tell its rate, which is 0 then,
/// may be). Where there is no 4:2:0: of those that are fast enough rather one that is as long as a
/// picture of a face can become than a shorter one; rather one that need not be decompressed; and
/// of those the highest resolution. Slower ones only where all are. Of equals the fastest, as far
/// as a screen can show. Nothing when none is usable.
std::optional<std::size_t> chooseFormat(const std::vector<OfferedFormat>& formats);

/// What the system tells of a camera that does not do.
struct CameraFault {
  /// Its own number and words; empty when it has told nothing.
  int number = 0;
  std::string words;
  /// It has told that another program has the camera.
  bool isBusy = false;
};

/// What is known when a camera does not do.
struct CameraState {
  /// The system knows a camera, and it is still there.
  bool isListed = false;
  /// This program may not open it.
  bool isForbidden = false;
  /// Frames have come, and there were pixels in some.
  bool hasSeenFrames = false;
  bool hasShownFrames = false;
  CameraFault fault;
};

/// The system's own numbers are told as so much more, apart from those that have names.
inline constexpr std::int64_t kSystemErrors = 100;

/// Why, in words for the person: the system's own where it says something that is not known here.
CameraError failureOf(const CameraState& state);
CameraError noSuitableFormat();

}  // namespace veltrane::qtquick::multimedia
