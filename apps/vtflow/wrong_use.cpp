#include "apps/vtflow/wrong_use.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

#include "apps/vtflow/messages.h"

namespace veltrane::tool {
namespace {

using Words = std::vector<std::string>;

bool isOption(std::string_view word) {
  return word.size() > 1 && word.starts_with('-');
}

/// What is left of a name when hyphens and capitals are no matter.
std::string bare(std::string_view name) {
  std::string letters;
  for (const unsigned char c : name) {
    if (c != '-') letters += static_cast<char>(std::tolower(c));
  }
  return letters;
}

/// How many letters are wrong, missing, too many or exchanged with their neighbour.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::vector<std::size_t>> steps(one.size() + 1,
                                              std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      auto& least = steps[i][j] = std::max(i, j);
      if (i == 0 || j == 0) continue;
      const bool isSame = one[i - 1] == other[j - 1];
      least = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + !isSame});
      const bool areExchanged =
          i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (areExchanged) least = std::min(least, steps[i - 2][j - 2] + 1);
    }
  }
  return steps[one.size()][other.size()];
}

/// The name that was meant: the only one that begins so, or one that is nearly the same.
std::optional<std::string> nearest(const std::string& word, const Words& names) {
  const std::string wanted = bare(word);
  const auto begins = [&](const std::string& name) {
    return wanted.size() > 1 && bare(name).starts_with(wanted);
  };
  if (std::count_if(names.begin(), names.end(), begins) == 1) {
    return *std::find_if(names.begin(), names.end(), begins);
  }
  std::optional<std::string> found;
  std::size_t least = std::max<std::size_t>(1, wanted.size() / 3) + 1;
  for (const auto& name : names) {
    const auto wrong = distance(wanted, bare(name));
    if (wrong < least && wrong < wanted.size()) {
      least = wrong;
      found = name;
    }
  }
  return found;
}

std::string meant(const std::string& word, const Words& names) {
  const auto name = nearest(word, names);
  return name ? "; did you mean " + *name + '?' : std::string();
}

Words commandNames(const CLI::App& command) {
  Words names;
  for (const auto* const one : command.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(one->get_name());
  }
  return names;
}

std::string list(const Words& words, const char* last) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 < words.size() ? ", " : last;
    text += words[i];
  }
  return text;
}

const CLI::App& innermost(const CLI::App& app) {
  const auto parsed = app.get_subcommands();
  return parsed.empty() ? app : innermost(*parsed.front());
}

/// Every name that an option has at this place of the line.
Words optionNames(const CLI::App& command) {
  Words names;
  for (const auto* const option : command.get_options()) {
    for (const auto& name : option->get_lnames()) names.push_back("--" + name);
    for (const auto& name : option->get_snames()) names.push_back("-" + name);
  }
  if (command.get_fallthrough() && command.get_parent()) {
    const auto outer = optionNames(*command.get_parent());
    names.insert(names.end(), outer.begin(), outer.end());
  }
  return names;
}

std::string unknownOption(const CLI::App& command, const std::string& word) {
  // Only the name: what follows it may be a secret.
  const auto name = word.substr(0, word.find('='));
  const auto names = optionNames(command);
  if (std::find(names.begin(), names.end(), name) != names.end()) {
    return name + " belongs behind \"" + command.get_name() + '"';
  }
  return "there is no option \"" + name + '"' + meant(name, names);
}

std::optional<std::string> unknownName(const CLI::App& app, const Words& unknown) {
  if (unknown.empty()) return std::nullopt;
  const CLI::App& command = innermost(app);
  const bool lacksCommand = !commandNames(command).empty();
  if (lacksCommand && !isOption(unknown.front())) return unknownCommand(command, unknown.front());
  const auto option = std::find_if(unknown.begin(), unknown.end(), isOption);
  if (option == unknown.end()) return std::nullopt;
  return unknownOption(command, *option);
}

std::string nameIn(const std::string& message, const char* end) {
  return message.substr(0, message.find(end));
}

/// The parser's words for the rest, where they are its own rather than a person's.
std::string reasonOf(const CLI::App& app, const CLI::ParseError& error) {
  const std::string message = error.what();
  const auto commands = commandNames(innermost(app));
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    const bool isRepeated = message.find(" received ") != std::string::npos;
    return nameIn(message, ":") + (isRepeated ? " is given more than once" : " needs a value");
  }
  if (dynamic_cast<const CLI::ConversionError*>(&error)) {
    static constexpr std::string_view kStart = "Could not convert: ";
    return nameIn(message.substr(std::min(kStart.size(), message.size())), " = ") +
           " takes no value";
  }
  if (dynamic_cast<const CLI::RequiredError*>(&error) && !commands.empty()) {
    return "a command is required: " + list(commands, " or ");
  }
  return asReason(message);
}

}  // namespace

void refuseNamesAsValues(CLI::App& command) {
  const auto refuse = [&command](std::string& text) {
    const bool isName = text.starts_with("--") && command.get_option_no_throw(text) != nullptr;
    return isName ? "needs a value before " + text : std::string();
  };
  for (auto* const option : command.get_options([](const CLI::Option*) { return true; })) {
    // Before the checks of the value itself.
    if (option->get_items_expected_max() > 0) option->transform(CLI::Validator(refuse, ""));
  }
}

std::string wrongUse(const CLI::App& app, const CLI::ParseError& error) {
  const auto unknown = app.remaining(true);
  if (const auto name = unknownName(app, unknown)) return *name;
  const bool isWrongValue = dynamic_cast<const CLI::ValidationError*>(&error) != nullptr;
  if (!unknown.empty() && !isWrongValue) return '"' + unknown.front() + "\" is not expected";
  return reasonOf(app, error);
}

std::string unknownCommand(const CLI::App& command, const std::string& name) {
  const auto names = commandNames(command);
  const auto hint = meant(name, names);
  return asReason("there is no command \"" + name + '"' +
                  (hint.empty() ? ", but " + list(names, " and ") : hint));
}

}  // namespace veltrane::tool
