#include <cstdlib>

#include "apps/sandbox/server.h"

namespace veltrane::sandbox {

namespace fs = std::filesystem;

fs::path shippedFlowsFolder() {
  if (const char* named = std::getenv("VELTRANE_SANDBOX_FLOWS"); named && *named) return named;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const fs::path installed = program.parent_path() / VELTRANE_SANDBOX_INSTALLED_FLOWS;
  if (!error && fs::is_directory(installed, error)) return installed.lexically_normal();
  return VELTRANE_SANDBOX_SOURCE_FLOWS;
}

}  // namespace veltrane::sandbox
