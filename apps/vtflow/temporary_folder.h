#pragma once

#include <filesystem>

namespace veltrane::tool {

/// A fresh folder that only its owner can look into; removed with all it holds at the end. A run
/// that was killed leaves its folder to the next one, which removes it.
class TemporaryFolder {
 public:
  /// Throws std::filesystem::filesystem_error when none can be made.
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  /// The folder, locked for as long as this process lives: the kernel tells who is gone, also of
  /// processes in other containers that share the folder of temporary files.
  int lock_ = -1;
};

}  // namespace veltrane::tool
