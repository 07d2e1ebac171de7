#include "apps/vtflow/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace veltrane::tool {

TemporaryFolder::TemporaryFolder() {
  auto name = (std::filesystem::temp_directory_path() / "vtflow-XXXXXX").string();
  if (!mkdtemp(name.data())) {
    throw std::filesystem::filesystem_error("cannot make a temporary folder", name,
                                            std::error_code(errno, std::generic_category()));
  }
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace veltrane::tool
