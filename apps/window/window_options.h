#pragma once

#include <QSize>
#include <filesystem>
#include <optional>
#include <string>

#include "apps/vtflow/flow_options.h"

namespace CLI {
class App;
}

namespace veltrane::window {

/// What a command line says about the window, beside the flow to run.
struct WindowOptions {
  tool::FlowOptions flow;
  bool tablet = false;
  bool dark = false;
  bool rightToLeft = false;
  bool verbose = false;
  std::optional<double> textScale;
  QSize size{390, 844};
  /// This machine's passkeys; absent: the user's own, but temporary ones for a script.
  std::optional<std::filesystem::path> credentials;
  /// A picture, a folder of them or a video that stands for the camera; absent: this machine's.
  std::optional<std::filesystem::path> camera;
  /// Where the identity vendors' stand-ins are; absent: the vendors' own addresses.
  std::optional<std::string> identityVendors;
  /// Folder for a picture of each screen; given: nothing is shown on the display.
  std::optional<std::filesystem::path> pictures;
  /// What a user does, played by the program.
  std::optional<std::filesystem::path> script;
  /// A flow file whose "look" `applyLook` takes over.
  std::optional<std::filesystem::path> look;
};

/// Adds the options that fill `options`, which outlives the parsing. Wrong values fail the parsing.
void addWindowOptions(CLI::App& command, WindowOptions& options);

}  // namespace veltrane::window
