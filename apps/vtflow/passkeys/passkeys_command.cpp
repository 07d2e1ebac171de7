#include "apps/vtflow/passkeys/passkeys_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <variant>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/messages.h"
#include "apps/vtflow/option_checks.h"
#include "apps/vtflow/passkeys/passkey_text.h"

namespace veltrane::tool {
namespace {

using authenticator::PasskeyEntry;
namespace fs = std::filesystem;

constexpr int kDone = 0;
constexpr int kNotDone = 1;
constexpr const char* kStatusHelp = "Exit status: 0 it is done, 1 it is not, 2 wrong use";

/// The person's answer is one line; no answer is a no.
bool hearYes(int input) {
  std::string line;
  for (char c = 0; line.size() < 16 && ::read(input, &c, 1) == 1 && c != '\n';) line += c;
  return line == "y" || line == "Y" || line == "yes";
}

/// What stands in the way of a deletion, as the exit status; nothing when it may go on.
std::optional<int> refusal(const PasskeysOptions& options, const Terminal& terminal,
                           const std::string& question) {
  if (options.yes) return std::nullopt;
  if (::isatty(terminal.input) == 0) {
    terminal.errors << "vtflow passkeys: there is nobody to ask; add --yes to delete all the same "
                       "(see vtflow passkeys --help)\n";
    return exit_status::kUsage;
  }
  terminal.text << question << " [y/N] " << std::flush;
  if (hearYes(terminal.input)) return std::nullopt;
  terminal.text << "Nothing was deleted." << std::endl;
  return kNotDone;
}

template <typename Value>
Value valueOf(PasskeyResult<Value> result, const fs::path& file) {
  if (auto* const value = std::get_if<Value>(&result)) return std::move(*value);
  const auto& error = std::get<PasskeyError>(result);
  throw std::runtime_error(file.string() + ": " +
                           (error.cause.empty() ? "it cannot be used" : asReason(error.cause)));
}

std::string count(std::size_t passkeys) {
  return std::to_string(passkeys) + (passkeys == 1 ? " passkey" : " passkeys");
}

bool isThere(const fs::path& file) {
  std::error_code error;
  return fs::exists(file, error) || error;
}

void requireFile(const fs::path& file) {
  if (!isThere(file)) throw std::runtime_error("there is no passkey file " + file.string());
}

int listAll(const fs::path& file, const Terminal& terminal) {
  if (!isThere(file)) {
    terminal.text << "There is no passkey: " << file.string() << " is not there." << std::endl;
    return kDone;
  }
  const auto entries = valueOf(authenticator::list(file), file);
  if (entries.empty()) terminal.text << "There is no passkey in " << file.string() << ".\n";
  for (const PasskeyEntry& entry : entries) terminal.text << lineOf(entry) << '\n';
  terminal.text << std::flush;
  return kDone;
}

int removeOne(const PasskeysOptions& options, const fs::path& file, const Terminal& terminal) {
  requireFile(file);
  const auto found = withId(valueOf(authenticator::list(file), file), options.id);
  if (found.size() != 1) {
    const std::string what = found.empty() ? "no passkey" : "more than one passkey";
    throw std::runtime_error("there is " + what + " whose id begins with \"" + options.id +
                             "\" (vtflow passkeys list tells them)");
  }
  const std::string owner = ownerText(found.front());
  const auto question = "Delete the passkey of " + owner + "? It cannot be brought back.";
  if (const auto status = refusal(options, terminal, question)) return *status;
  if (!valueOf(authenticator::remove(file, found.front().id), file)) {
    throw std::runtime_error("the passkey is gone already");
  }
  terminal.text << "Deleted the passkey of " << owner
                << ". Remove it from the account there as well." << std::endl;
  return kDone;
}

int resetAll(const PasskeysOptions& options, const fs::path& file, const Terminal& terminal) {
  requireFile(file);
  const auto listed = authenticator::list(file);
  const auto* const held = std::get_if<std::vector<PasskeyEntry>>(&listed);
  const auto question = "Delete " + (held ? count(held->size()) : "every passkey") +
                        ", the PIN and the passphrase in " + file.string() +
                        "? They cannot be brought back.";
  if (const auto status = refusal(options, terminal, question)) return *status;
  const auto deleted = valueOf(authenticator::reset(file), file);
  terminal.text << "Deleted " << count(deleted) << ", the PIN and the passphrase." << std::endl;
  return kDone;
}

/// Help that tells of a command also what it takes from the one around it.
class OuterOptionsToo : public CLI::Formatter {
 public:
  /// They stand between a command's own options and its commands.
  std::string make_subcommands(const CLI::App* command, CLI::AppFormatMode mode) const override {
    const std::string inner = CLI::Formatter::make_subcommands(command, mode);
    if (!command->get_fallthrough()) return inner;
    const CLI::App* const outer = command->get_parent();
    const auto isOuters = [&](const CLI::Option* option) {
      return option != outer->get_help_ptr() && option->nonpositional();
    };
    return make_group("Options of " + outer->get_name(), false, outer->get_options(isOuters)) +
           inner;
  }
};

}  // namespace

void addPasskeysOptions(CLI::App& command, PasskeysOptions& options) {
  using Action = PasskeysOptions::Action;
  command.formatter(std::make_shared<OuterOptionsToo>());
  command
      .add_option("--credentials", options.credentials,
                  "Their file; absent: " + authenticator::defaultPasskeyFile().string())
      ->check(checkedBy(checkPasskeyFile))
      ->type_name("FILE");
  command.require_subcommand(1);
  command.footer(kStatusHelp);
  const auto add = [&](const char* name, Action action, const char* help) {
    CLI::App* const one = command.add_subcommand(name, help)->fallthrough();
    one->callback([&options, action] { options.action = action; });
    return one;
  };
  add("list", Action::list, "Tell the passkeys that this machine keeps, the newest first");
  CLI::App* const remove = add("delete", Action::remove, "Delete one for good");
  remove->add_option("ID", options.id, "Its id as the list tells it, or enough of its start")
      ->check(checkedBy(checkNotEmpty))
      ->required();
  CLI::App* const reset = add("reset", Action::reset,
                              "Delete all, with PIN and passphrase: the way out of a locked PIN");
  for (CLI::App* const one : {remove, reset}) {
    one->footer(std::string("Asks first, and needs --yes where there is no terminal.\n") +
                kStatusHelp);
    one->add_flag("--yes", options.yes, "Delete without asking");
  }
}

int managePasskeys(const PasskeysOptions& options, const Terminal& terminal) {
  const fs::path file = options.credentials.value_or(authenticator::defaultPasskeyFile());
  try {
    switch (options.action) {
      case PasskeysOptions::Action::list:
        return listAll(file, terminal);
      case PasskeysOptions::Action::remove:
        return removeOne(options, file, terminal);
      case PasskeysOptions::Action::reset:
        return resetAll(options, file, terminal);
    }
  } catch (const std::runtime_error& error) {
    terminal.errors << "vtflow passkeys: " << error.what() << '\n';
  }
  return kNotDone;
}

}  // namespace veltrane::tool
