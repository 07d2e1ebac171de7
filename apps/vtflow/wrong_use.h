#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

/// What a command line that cannot be parsed is told, each as a reason.
namespace veltrane::tool {

/// Has the name of one option refused as the value of another: the value was forgotten. For a
/// command that has all of its options.
void refuseNamesAsValues(CLI::App& command);

/// What is wrong with the line that `app`, the outermost command, failed to parse. A word that
/// nobody knows is told before anything that is missing: it is why that is missing.
std::string wrongUse(const CLI::App& app, const CLI::ParseError& error);

/// That `command` has no command of that name, and which ones it has.
std::string unknownCommand(const CLI::App& command, const std::string& name);

}  // namespace veltrane::tool
