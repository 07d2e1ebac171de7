#pragma once

#include <QVideoFrame>
#include <functional>

#include "platform/qtquick/multimedia/camera_choice.h"

namespace veltrane::qtquick::multimedia {

/// A camera of the system's as it comes. Main thread, but for its frames.
class CameraSource {
 public:
  struct Events {
    /// Any thread, one at a time.
    std::function<void(const QVideoFrame&)> frame;
    std::function<void(const CameraFault&)> failed;
    /// Cameras have come or gone.
    std::function<void()> listChanged;
  };

  /// Gives the camera back. Nothing is called afterwards.
  virtual ~CameraSource() = default;
  /// Once; may fail within the call.
  virtual void start(Events events) = 0;

  virtual bool isFront() const = 0;
  /// It is still there.
  virtual bool isListed() const = 0;
  /// This program may not open it.
  virtual bool isForbidden() const = 0;
};

}  // namespace veltrane::qtquick::multimedia
