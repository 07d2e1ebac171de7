#pragma once

#include <string>

namespace veltrane {

/// The host's colours, as hexadecimal text ("#RRGGBB" and the other forms of `Color::fromHex`).
struct VTTheme {
  std::string backgroundColor = "#ffffff";
  std::string labelTextColor = "#000000";
  std::string buttonTextColor = "#ffffff";
  std::string buttonBackgroundColor = "#99C852";
};

}  // namespace veltrane
