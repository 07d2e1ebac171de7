#include "apps/vtflow/tool.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "apps/vtflow/doctor/doctor_command.h"
#include "apps/vtflow/drive/drive_command.h"
#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/messages.h"
#include "apps/vtflow/passkeys/passkeys_command.h"
#include "apps/vtflow/serve/serve_command.h"
#include "apps/vtflow/silence.h"
#include "apps/vtflow/window/run_command.h"
#include "apps/vtflow/wrong_use.h"
#include "veltrane/platform.h"

namespace veltrane::tool {
namespace {

constexpr const char* kDriveHelp =
    "\n\nStandard output carries the flow's result in full, its tokens included. What is typed "
    "into a"
    "\nfield that is not secure stands unmasked in the requests: a one-time code, say."
    "\ndocs/drive.md describes the events and the commands";

struct Options {
  DriveOptions drive;
  ServeOptions serve;
  DoctorOptions doctor;
  PasskeysOptions passkeys;
};

/// All commands on one parser; `run` stands here for the help alone.
struct Parser {
  explicit Parser(Options& options) {
    app.set_version_flag("--version", std::string("vtflow ") + VELTRANE_VERSION);
    // None is told below: the parser would not name the word that is no command.
    app.require_subcommand(0, 1);
    run->prefix_command();
    addDriveOptions(*drive, options.drive);
    drive->footer(std::string(exit_status::kHelp) + kDriveHelp);
    addServeOptions(*serve, options.serve);
    addDoctorOptions(*doctor, options.doctor);
    addPasskeysOptions(*passkeys, options.passkeys);
    for (CLI::App* const command : {drive, serve, doctor, passkeys}) refuseNamesAsValues(*command);
    app.footer("vtflow COMMAND --help tells the options of each.");
  }

  bool knows(const std::string& command) const {
    const auto isIt = [&](const CLI::App* one) { return one->get_name() == command; };
    return !app.get_subcommands(isIt).empty();
  }

  /// As it was called: with the command, if there was one.
  std::string name() const {
    const auto parsed = app.get_subcommands();
    return parsed.empty() ? "vtflow" : "vtflow " + parsed.front()->get_name();
  }

  CLI::App app{"Runs flows of the Veltrane orchestration server", "vtflow"};
  CLI::App* run = app.add_subcommand("run", "Run a flow in a window");
  CLI::App* drive = app.add_subcommand(
      "drive",
      "Run a flow without a window: events on standard output, commands on standard input");
  CLI::App* serve = app.add_subcommand("serve", "Run the sandbox server on a loopback address");
  CLI::App* doctor = app.add_subcommand("doctor", "Tell whether passkeys work on this machine");
  CLI::App* passkeys = app.add_subcommand("passkeys", "List or delete the passkeys kept here");
};

int explain(const Parser& parser, const CLI::ParseError& error, const Terminal& terminal) {
  if (error.get_exit_code() == 0) {
    parser.app.exit(error, terminal.text, terminal.errors);
    if (terminal.text.flush()) return 0;
    terminal.errors << "vtflow: cannot write to standard output\n";
    return exit_status::kNoResult;
  }
  const auto name = parser.name();
  terminal.errors << name << ": " << wrongUse(parser.app, error) << " (see " << name
                  << " --help)\n";
  return exit_status::kUsage;
}

int dispatch(const Parser& parser, const Options& options, const Terminal& terminal) {
  try {
    if (parser.drive->parsed()) return drive(options.drive, terminal.input, terminal.output);
    if (parser.serve->parsed()) return serve(options.serve, terminal.text, terminal.errors);
    Platform platform;
    platform.console = std::make_shared<Silence>();
    const PlatformScope scope(std::move(platform));
    if (parser.doctor->parsed()) return doctor(options.doctor, terminal.text);
    return managePasskeys(options.passkeys, terminal);
  } catch (const std::exception& error) {
    terminal.errors << parser.name() << ": " << asReason(error.what()) << '\n';
    return exit_status::kNoResult;
  }
}

}  // namespace

int runTool(int argumentCount, const char* const* arguments, Terminal terminal) {
  const std::vector<std::string> words(arguments + 1, arguments + std::max(argumentCount, 1));
  if (!words.empty() && words.front() == "run") {
    return runInWindow({words.begin() + 1, words.end()}, terminal.errors);
  }
  Options options;
  Parser parser(options);
  if (!words.empty() && !words.front().starts_with('-') && !parser.knows(words.front())) {
    terminal.errors << "vtflow: " << unknownCommand(parser.app, words.front())
                    << " (see vtflow --help)\n";
    return exit_status::kUsage;
  }
  try {
    parser.app.parse(argumentCount, arguments);
    if (parser.app.get_subcommands().empty()) throw CLI::RequiredError("A command");
  } catch (const CLI::ParseError& error) {
    return explain(parser, error, terminal);
  }
  return dispatch(parser, options, terminal);
}

}  // namespace veltrane::tool
