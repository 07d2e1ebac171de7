#pragma once

#include <optional>

#include "veltrane/toolkit/device.h"

namespace veltrane::qtquick {

/// The primary screen as the device. Without a wish of the host's, a screen whose shorter side has
/// at least 600 points counts as a tablet's.
class ScreenDevice final : public Device {
 public:
  explicit ScreenDevice(std::optional<InterfaceIdiom> idiom = std::nullopt) : idiom_(idiom) {}
  double screenScale() const override;
  InterfaceIdiom userInterfaceIdiom() const override;

 private:
  std::optional<InterfaceIdiom> idiom_;
};

}  // namespace veltrane::qtquick
