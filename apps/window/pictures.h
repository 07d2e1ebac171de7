#pragma once

#include <filesystem>
#include <optional>
#include <string>

class QQuickWindow;

namespace veltrane::window {

/// Numbered PNG files of what a window shows. They carry a mark of who made them.
class Pictures {
 public:
  /// Makes the folder. Pictures that an earlier run has left there are removed, known by name and
  /// mark; nothing else is. Throws std::filesystem::filesystem_error when it cannot be made.
  explicit Pictures(std::filesystem::path folder);

  /// Saves what the window shows now as "NN-<name>.png"; nothing when that fails.
  std::optional<std::filesystem::path> take(QQuickWindow& window, const std::string& name);

 private:
  std::filesystem::path folder_;
  int taken_ = 0;
};

}  // namespace veltrane::window
