#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "veltrane/face/face_hint.h"
#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane {
class FaceImageCaptureVC;
}

namespace veltrane::window {

/// Looks on while a person comes into the oval of a camera screen: tells what is worth a picture,
/// each hint once it stands there and the face that is taken.
class CaptureWatch final : public QObject {
 public:
  using Seen = std::function<void(const std::string& name)>;

  /// Null for a screen of another kind.
  static std::unique_ptr<CaptureWatch> make(const std::shared_ptr<ViewController>& screen,
                                            Seen seen);
  CaptureWatch(const std::shared_ptr<FaceImageCaptureVC>& screen, Seen seen);

  /// A picture may still be taken.
  bool isCapturing() const;

 private:
  void changed();

  const std::weak_ptr<FaceImageCaptureVC> screen_;
  const Seen seen_;
  /// Until a hint has faded in.
  QTimer fading_;
  FaceHint hint_ = FaceHint::none;
  bool isTaken_ = false;
  Subscription changes_;
};

}  // namespace veltrane::window
