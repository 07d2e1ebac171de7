#include "apps/vtflow/window/run_command.h"

#include <unistd.h>

#include <array>
#include <cstring>
#include <ostream>
#include <system_error>

#include "apps/vtflow/drive/exit_status.h"

namespace veltrane::tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kProgram = "vtflow-window";

bool isProgram(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::optional<fs::path> findWindowProgram(const fs::path& toolFolder) {
  static constexpr std::array<const char*, 5> kFolders = {".", "../libexec/veltrane", "../libexec",
                                                          "../bin", "../window"};
  for (const char* const folder : kFolders) {
    auto path = toolFolder / folder / kProgram;
    if (isProgram(path)) return path;
  }
  return std::nullopt;
}

int runInWindow(const std::vector<std::string>& arguments, std::ostream& errors) {
  std::error_code error;
  const auto tool = fs::read_symlink("/proc/self/exe", error);
  const auto program = error ? std::nullopt : findWindowProgram(tool.parent_path());
  if (!program) {
    errors << "vtflow run: the window front end (" << kProgram << ") is not installed\n";
    return exit_status::kUsage;
  }
  std::vector<std::string> words = {kProgram};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  execv(program->c_str(), pointers.data());
  errors << "vtflow run: cannot start " << program->string() << ": " << std::strerror(errno)
         << '\n';
  return exit_status::kUsage;
}

}  // namespace veltrane::tool
