#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/vtflow/flow_options.h"

namespace veltrane::tool {

struct ScreenSize {
  double width = 390;
  double height = 844;
  double scale = 2;
};

/// The command line of `vtflow drive`.
struct DriveOptions {
  FlowOptions flow;
  std::optional<std::filesystem::path> credentials;
  std::string userVerification = "yes";
  std::optional<std::filesystem::path> camera;
  std::string rawScreen = "390x844@2";
  bool tablet = false;
  bool deviceJailbroken = false;

  ScreenSize screen() const;
};

void addDriveOptions(CLI::App& command, DriveOptions& options);

/// "WxH@SCALE" in points and pixels a point, all above zero, sides up to
/// 10000 and the scale up to 10; nothing for any other text.
std::optional<ScreenSize> parseScreenSize(const std::string& text);

}  // namespace veltrane::tool
