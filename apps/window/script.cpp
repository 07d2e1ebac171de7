#include "apps/window/script.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "apps/vtflow/option_checks.h"
#include "apps/window/window_options.h"

namespace veltrane::window {
namespace {

struct Play {
  std::string_view name;
  /// The command names a row, by its key or by its index.
  bool hasRow = false;
  bool byIndex = false;        ///< The row has no key.
  std::string_view text = {};  ///< A field that holds a text.
  std::string_view flag = {};  ///< A field that holds true or false.
  std::string_view object = {};
};

constexpr Play kPlays[] = {
    {.name = "input", .hasRow = true, .text = "text"},
    {.name = "toggle", .hasRow = true, .flag = "on"},
    {.name = "choose", .hasRow = true, .text = "option"},
    {.name = "select", .byIndex = true},
    {.name = "press"},
    {.name = "back"},
    {.name = "cancel"},
    {.name = "dismissAlert"},
    {.name = "retry"},
    {.name = "sdk", .object = "outcome"},
};

std::string quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

/// What is wrong with a command; empty: nothing.
std::string complaint(const JSON& command) {
  if (!command.isObject()) return "is no object";
  const auto name = command["do"].text();
  if (!name) return "has no \"do\"";
  const auto* const play = std::find_if(std::begin(kPlays), std::end(kPlays),
                                        [&](const Play& one) { return one.name == *name; });
  const auto what = quoted(*name);
  if (play == std::end(kPlays)) return what + " cannot be played in a window";
  if (play->hasRow && command["key"].text().has_value() == command["row"].number().has_value())
    return what + " needs a \"key\" or a \"row\"";
  if (play->byIndex && !command["row"].integer())
    return what + " needs a whole number as its \"row\"";
  if (!play->text.empty() && !command[play->text].text())
    return what + " needs a text as its " + quoted(play->text);
  if (!play->flag.empty() && command[play->flag].kind() != JSON::Kind::boolean)
    return what + " needs true or false as its " + quoted(play->flag);
  if (!play->object.empty() && !command[play->object].isObject())
    return what + " needs an object as its " + quoted(play->object);
  return {};
}

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
  throw FileError(file.string() + ": " + what);
}

JSON readFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) fail(file, "cannot be read");
  auto parsed = JSON::parse(text);
  if (!parsed.ok()) fail(file, "is not JSON: " + parsed.error);
  return parsed.value;
}

bool flagOf(const JSON& look, const char* name, const std::filesystem::path& file) {
  if (!look.contains(name)) return false;
  if (look[name].kind() != JSON::Kind::boolean) {
    fail(file, "look." + std::string(name) + ": must be true or false");
  }
  return look[name].boolean().value_or(false);
}

/// Null for a flow without one.
JSON readLook(const std::filesystem::path& file) {
  const JSON flow = readFile(file);
  if (!flow.isObject()) fail(file, "is no flow: it must be an object");
  if (!flow.contains("look")) return {};
  const JSON look = flow["look"];
  if (!look.isObject()) fail(file, "look: must be an object");
  look.forEachMember([&](std::string_view key, const JSON&) {
    const bool isKnown = key == "rightToLeft" || key == "dark" || key == "theme";
    if (!isKnown) fail(file, "look: unknown key " + quoted(key));
  });
  if (look.contains("theme") && !look["theme"].isObject()) {
    fail(file, "look.theme: must be an object");
  }
  return look;
}

}  // namespace

std::vector<JSON> readScript(const std::filesystem::path& file) {
  const JSON content = readFile(file);
  const JSON list = content.isObject() ? content["demo"] : content;
  if (!list.isArray()) fail(file, "is no list of commands, nor a flow with a \"demo\"");
  std::vector<JSON> commands;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const auto wrong = complaint(list[i]);
    if (!wrong.empty()) fail(file, "command " + std::to_string(i + 1) + ": " + wrong);
    commands.push_back(list[i]);
  }
  return commands;
}

void applyLook(const std::filesystem::path& file, WindowOptions& options) {
  const JSON look = readLook(file);
  options.rightToLeft |= flagOf(look, "rightToLeft", file);
  options.dark |= flagOf(look, "dark", file);
  std::vector<std::string> theme;
  look["theme"].forEachMember([&](std::string_view key, const JSON& colour) {
    if (!colour.text()) fail(file, "look.theme." + std::string(key) + ": must be a text");
    theme.push_back(std::string(key) + '=' + colour.textValue());
    const auto wrong = tool::checkThemeEntry(theme.back());
    if (!wrong.empty()) fail(file, "look.theme: " + wrong);
  });
  auto& entries = options.flow.rawTheme;
  entries.insert(entries.begin(), theme.begin(), theme.end());
}

}  // namespace veltrane::window
