#include "apps/window/script.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string_view>

namespace veltrane::window {
namespace {

constexpr std::array<std::string_view, 8> kCommands = {"input", "toggle", "choose",       "press",
                                                       "back",  "cancel", "dismissAlert", "retry"};

void check(const JSON& command, std::size_t number) {
  const auto where = "command " + std::to_string(number + 1);
  const auto name = command["do"].text();
  if (!name) throw ScriptError(where + " has no \"do\"");
  if (std::find(kCommands.begin(), kCommands.end(), *name) == kCommands.end())
    throw ScriptError(where + ": \"" + std::string(*name) + "\" cannot be played in a window");
}

}  // namespace

std::vector<JSON> readScript(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw ScriptError("cannot be read");
  const auto parsed = JSON::parse(text);
  if (!parsed.ok()) throw ScriptError("is not JSON: " + parsed.error);
  const JSON list = parsed.value.isObject() ? parsed.value["demo"] : parsed.value;
  if (!list.isArray()) throw ScriptError("is not a list of commands, nor a flow with a \"demo\"");
  std::vector<JSON> commands;
  for (std::size_t i = 0; i < list.size(); ++i) {
    commands.push_back(list[i]);
    check(commands.back(), i);
  }
  return commands;
}

}  // namespace veltrane::window
