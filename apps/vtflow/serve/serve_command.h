#pragma once

#include <filesystem>
#include <iosfwd>

namespace CLI {
class App;
}

namespace veltrane::tool {

/// The command line of `vtflow serve`.
struct ServeOptions {
  /// 0: a free one.
  int port = 0;
  /// Empty: the flows that come with the project.
  std::filesystem::path flows;
  /// Empty: `vtflow/sandbox` in the user's state folder.
  std::filesystem::path state;
  bool json = false;
};

void addServeOptions(CLI::App& command, ServeOptions& options);

/// Runs the sandbox server until SIGINT, SIGTERM or SIGHUP. Once it takes requests, one line on
/// `ready` says where:
///
///     ready https://localhost:PORT/v1 authority FILE
///
/// or, as JSON, {"approve":…,"authority":…,"baseURL":…,"flows":[…]}. Where challenges are approved
/// is told on `log` too, and each request is a line there. Throws std::exception when the server
/// cannot start.
int serve(const ServeOptions& options, std::ostream& ready, std::ostream& log);

}  // namespace veltrane::tool
