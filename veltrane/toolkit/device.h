#pragma once

#include <cstdint>

namespace veltrane {

enum class InterfaceIdiom : std::uint8_t { phone, pad };

/// Port: the device that shows the flow. Called on the main thread. Sizes are points; `screenScale`
/// is pixels a point.
class Device {
 public:
  virtual ~Device() = default;
  virtual double screenScale() const = 0;
  virtual InterfaceIdiom userInterfaceIdiom() const = 0;
};

}  // namespace veltrane
