#pragma once

#include <memory>
#include <optional>
#include <string>

#include "veltrane/flow/veltrane_flow_error.h"

namespace veltrane {

/// Hears what became of a face capture: exactly one of the two is present. Main thread.
class FaceImageCaptureVCDelegate {
 public:
  virtual ~FaceImageCaptureVCDelegate() = default;
  /// `base64Png`: the picture's PNG bytes, despite the name.
  virtual void faceImageCaptureResult(const std::optional<std::string>& base64Png,
                                      const std::optional<VeltraneFlowError>& error) = 0;
};

/// What the screen registered as "FaceImageCaptureVC" implements.
class FaceImageCaptureScreen {
 public:
  virtual ~FaceImageCaptureScreen() = default;
  std::weak_ptr<FaceImageCaptureVCDelegate> delegate;
};

}  // namespace veltrane
