#pragma once

#include <cstddef>
#include <optional>
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

/// The 4:2:0 format (`halvedChroma`) of the highest resolution, of those the fastest. Without any
/// such the same of the rest, pixels before what has to be decompressed. Nothing when none is
/// usable.
std::optional<std::size_t> chooseFormat(const std::vector<OfferedFormat>& formats);

/// What is known when a camera does not do.
struct CameraState {
  /// The system knows a camera, and it is still there.
  bool isListed = false;
  /// This program may not open it.
  bool isForbidden = false;
  bool hasShownFrames = false;
};

/// Why, in words for the person.
CameraError failureOf(const CameraState& state);
CameraError noSuitableFormat();

}  // namespace veltrane::qtquick::multimedia
