#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/vtflow/tool.h"

namespace CLI {
class App;
}

namespace veltrane::tool {

/// The command line of `vtflow passkeys`.
struct PasskeysOptions {
  enum class Action { list, remove, reset };

  Action action = Action::list;
  /// Absent: where the flows of this user keep them.
  std::optional<std::filesystem::path> credentials;
  /// Of the passkey to delete, in hexadecimal, or enough of its start.
  std::string id;
  /// Nobody is asked.
  bool yes = false;
};

void addPasskeysOptions(CLI::App& command, PasskeysOptions& options);

/// Lists or deletes the passkeys that this machine keeps. Before anything is deleted the person at
/// the terminal is asked. The exit status: 0 it is done, 1 it is not, 2 there was nobody to ask.
int managePasskeys(const PasskeysOptions& options, const Terminal& terminal);

}  // namespace veltrane::tool
