#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/base/dictionary.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/flow/vt_theme.h"

namespace CLI {
class App;
}

namespace veltrane::tool {

/// What a command line says about the flow to run and the server to ask, whichever front end shows
/// it. The raw lists are sound once the command line has been parsed.
struct FlowOptions {
  std::string companyId;
  std::optional<std::string> flowId;
  std::optional<std::string> policyId;
  std::string apiKey = "demo-key";
  std::string rpId = "localhost";
  std::string origin = "https://localhost";
  /// Seconds.
  double timeout = 120;
  bool sandbox = false;
  std::optional<std::string> baseURL;
  std::optional<std::string> productionURL;
  std::optional<std::string> sandboxURL;
  std::optional<std::filesystem::path> authorityFile;
  std::optional<std::string> accessToken;
  std::vector<std::string> rawProps;
  std::vector<std::string> rawTheme;
  /// Absent: a temporary one.
  std::optional<std::filesystem::path> store;

  /// Nothing when no entry was given.
  std::optional<Dictionary> props() const;
  std::optional<VTTheme> theme() const;
  VTFlow::Arguments arguments() const;
};

/// Adds the options that fill `options`, which outlives the parsing. Wrong values fail the parsing.
void addFlowOptions(CLI::App& command, FlowOptions& options);

/// The field of that name; null when there is none.
std::string* themeColour(VTTheme& theme, std::string_view name);

/// Points the library at the servers that the options name.
void applyServerURLs(const FlowOptions& options);

/// Starts the flow, by its own identifier when it has one.
void runFlow(VTFlow& flow, const FlowOptions& options,
             const std::shared_ptr<ViewController>& fromViewController);

}  // namespace veltrane::tool
