#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane::opencv {

/// Frames from files, in their order. One thread.
class FileSource {
 public:
  /// Loads OpenCV, unless it is there: some hundred milliseconds. Any thread.
  static void load();
  /// Null, and why, when there is no frame to be had. Loads OpenCV.
  static std::unique_ptr<FileSource> open(const std::filesystem::path& path, std::string& problem);
  virtual ~FileSource() = default;

  /// Nothing after the last one; null for one that cannot be read.
  virtual std::optional<PixelBufferPtr> next() = 0;
  /// Of a video; nothing when it does not say.
  virtual std::optional<double> framesPerSecond() const { return std::nullopt; }
};

}  // namespace veltrane::opencv
