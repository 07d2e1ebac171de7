#pragma once

#include <memory>

#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {
class FaceImageCaptureVC;
}

namespace veltrane::tool {

/// The camera screen: where its oval lies, and its colour. Each change of these is told anew.
class FaceImageCaptureAdapter final : public ScreenAdapter {
 public:
  FaceImageCaptureAdapter(const std::shared_ptr<FaceImageCaptureVC>& screen,
                          ScreenListener listener);

  Dictionary describe() override;
  /// The picture is being made, and leads on.
  bool isWorking() const override;
  /// A face may come into the oval at any time.
  bool isWatching() const override;
  Refusal cancel() override;

 private:
  std::weak_ptr<FaceImageCaptureVC> screen_;
  Dictionary told_;
  Subscription changes_;
};

}  // namespace veltrane::tool
