#include "apps/vtflow/serve/serve_command.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "apps/sandbox/server.h"
#include "apps/vtflow/option_checks.h"
#include "apps/vtflow/termination_signals.h"
#include "veltrane/base/dictionary.h"

namespace veltrane::tool {
namespace {

namespace fs = std::filesystem;

fs::path environmentPath(const char* name) {
  const char* const value = std::getenv(name);
  return value ? fs::path(value) : fs::path();
}

fs::path defaultStateFolder() {
  auto state = environmentPath("XDG_STATE_HOME");
  if (!state.is_absolute()) state = environmentPath("HOME") / ".local/state";
  return state / "vtflow/sandbox";
}

std::string readyLine(const sandbox::Server& server, bool json) {
  const auto authority = server.authorityFile().string();
  if (!json) return "ready " + server.baseURL() + " authority " + authority;
  std::vector<JSON> flows;
  for (const auto& id : server.flowIds()) flows.emplace_back(id);
  const JSON line = Dictionary{{"baseURL", JSON(server.baseURL())},
                               {"approve", JSON(server.approveURL())},
                               {"face", JSON(server.faceURL())},
                               {"authority", JSON(authority)},
                               {"flows", JSON::array(flows)}};
  return line.serialized().value_or("{}");
}

std::string checkPort(const std::string& text) {
  std::uint16_t port = 0;
  const auto* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, port);
  return error == std::errc() && end == last
             ? ""
             : "must be a whole number from 0 to 65535, not \"" + text + '"';
}

}  // namespace

void addServeOptions(CLI::App& command, ServeOptions& options) {
  command.add_option("--port", options.port, "Port on the loopback address; 0: a free one")
      ->check(checkedBy(checkPort))
      ->capture_default_str()
      ->type_name("N");
  command
      .add_option("--flows", options.flows, "Folder of flow files; absent: those that come along")
      ->check(checkedBy(checkFlowsFolder))
      ->type_name("DIR");
  command
      .add_option("--state", options.state,
                  "Folder of the certificates; absent: in the user's state folder")
      ->check(checkedBy(checkWritableFolder))
      ->type_name("DIR");
  command.footer("Exit status: 0 a signal ended it, 2 wrong use, 4 the server could not start");
  command.add_flag("--json", options.json, "Write the ready line as JSON");
}

int serve(const ServeOptions& options, std::ostream& ready, std::ostream& log) {
  const TerminationSignals signals;
  std::mutex logMutex;
  const sandbox::Server server(
      {.stateFolder = options.state.empty() ? defaultStateFolder() : options.state,
       .flowsFolder = options.flows.empty() ? sandbox::shippedFlowsFolder() : options.flows,
       .port = options.port,
       .recordedBytes = 0,
       .log = [&](const std::string& line) {
         const std::lock_guard lock(logMutex);
         log << line + '\n' << std::flush;
       }});
  ready << readyLine(server, options.json) << '\n' << std::flush;
  if (!options.json) {
    const std::lock_guard lock(logMutex);
    log << "What waits for a second device is answered at " + server.approveURL() + '\n'
        << "The last picture of a face is shown at " + server.faceURL() + '\n'
        << std::flush;
  }
  if (!ready) throw std::runtime_error("cannot write to standard output");
  signals.wait();
  return 0;
}

}  // namespace veltrane::tool
