#pragma once

#include <filesystem>

namespace veltrane::tool {

/// A fresh folder that only its owner can look into; removed with all it holds at the end.
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
};

}  // namespace veltrane::tool
