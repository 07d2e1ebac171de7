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
  std::string rpId = "localhost";
  std::string origin = "https://localhost";
  std::optional<std::string> baseURL;
  std::optional<std::filesystem::path> authorityFile;
};

void addDoctorOptions(CLI::App& command, DoctorOptions& options);

/// Tells whether passkeys work on this machine, a line a finding. The exit status: 0 they can,
/// 1 they cannot.
int doctor(const DoctorOptions& options, std::ostream& out);

}  // namespace veltrane::tool
