#include "platform/qtquick/multimedia/camera_choice.h"

#include <algorithm>
#include <tuple>

namespace veltrane::qtquick::multimedia {
namespace {

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
    return std::tuple(format.kind, std::int64_t{width} * height, format.framesPerSecond);
  });
  const bool isUsable = chosen && formats[*chosen].kind != OfferedFormat::unusable;
  return isUsable ? chosen : std::nullopt;
}

CameraError failureOf(const CameraState& state) {
  if (state.isForbidden) {
    return {CameraError::permissionRefused, "This program may not use the camera."};
  }
  if (state.hasShownFrames) return {CameraError::lost, "The camera was disconnected."};
  if (!state.isListed) return {CameraError::noCamera, "The camera is not available."};
  return {CameraError::busy, "The camera is used by another program."};
}

CameraError noSuitableFormat() {
  return {CameraError::noSuitableFormat, "The camera gives no pictures that can be used."};
}

}  // namespace veltrane::qtquick::multimedia
