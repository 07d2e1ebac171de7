#include "platform/qtquick/multimedia/camera_choice.h"

#include <algorithm>
#include <tuple>

namespace veltrane::qtquick::multimedia {
namespace {

/// A picture of a face is made smaller than what has more pixels on its longer side.
constexpr int kLongEnough = 1000;
/// Pictures a second that a screen shows.
constexpr double kFastest = 60;

template <typename Item, typename Rank>
std::optional<std::size_t> best(const std::vector<Item>& items, Rank rank) {
  const auto found = std::max_element(
      items.begin(), items.end(), [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
  if (found == items.end()) return std::nullopt;
  return static_cast<std::size_t>(found - items.begin());
}

}  // namespace

std::optional<std::size_t> chooseDevice(const std::vector<OfferedDevice>& devices) {
  return best(devices, [](const OfferedDevice& device) {
    return std::pair(device.position == OfferedDevice::front     ? 2
                     : device.position == OfferedDevice::unknown ? 1
                                                                 : 0,
                     device.isDefault);
  });
}

std::optional<std::size_t> chooseFormat(const std::vector<OfferedFormat>& formats) {
  const auto chosen = best(formats, [](const OfferedFormat& format) {
    const auto [width, height] = format.resolution;
    const double rate = format.framesPerSecond;
    const bool isHalved = format.kind == OfferedFormat::halvedChroma;
    const bool isFast = rate <= 0 || rate >= kLeastRate;
    return std::tuple(format.kind != OfferedFormat::unusable, isHalved, isHalved || isFast,
                      isHalved || std::max(width, height) >= kLongEnough, format.kind,
                      std::int64_t{width} * height, isFast, std::min(rate, kFastest));
  });
  const bool isUsable = chosen && formats[*chosen].kind != OfferedFormat::unusable;
  return isUsable ? chosen : std::nullopt;
}

CameraError failureOf(const CameraState& state) {
  if (state.isForbidden) {
    return {CameraError::permissionRefused, "This program may not use the camera."};
  }
  const auto& [number, words, isBusy] = state.fault;
  if (!state.isListed) {
    if (state.hasShownFrames) return {CameraError::lost, "The camera was disconnected."};
    return {CameraError::noCamera, "The camera is not available."};
  }
  if (isBusy) return {CameraError::busy, "The camera is used by another program."};
  if (state.hasShownFrames) {
    return {CameraError::lost, words.empty() ? "The camera has stopped." : words};
  }
  if (!words.empty()) return {kSystemErrors + number, words};
  if (state.hasSeenFrames) return noSuitableFormat();
  // As cameras do that another program holds.
  return {CameraError::busy, "The camera shows nothing. Another program may be using it."};
}

CameraError noSuitableFormat() {
  return {CameraError::noSuitableFormat, "The camera gives no pictures that can be used."};
}

}  // namespace veltrane::qtquick::multimedia
