#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace veltrane::tool {

/// The command line of `vtflow doctor`.
struct DoctorOptions {
  /// Absent: the origin's host.
  std::optional<std::string> rpId;
  /// Absent: the rpId's own; "localhost" where neither is given.
  std::optional<std::string> origin;
  std::optional<std::string> baseURL;
  std::optional<std::filesystem::path> authorityFile;
  /// Absent: where the flows of this user keep passkeys.
  std::optional<std::filesystem::path> credentials;
};

void addDoctorOptions(CLI::App& command, DoctorOptions& options);

/// Tells whether passkeys work on this machine, a line a finding. The exit status: 0 they can,
/// 1 they cannot.
int doctor(const DoctorOptions& options, std::ostream& out);

}  // namespace veltrane::tool
