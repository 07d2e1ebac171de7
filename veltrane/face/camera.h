#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// Why there is no picture. The code stands in the title of the alert that the person sees.
struct CameraError {
  enum Code : std::int64_t {
    noCamera = 1,
    noSuitableFormat = 2,
    permissionRefused = 3,
    busy = 4,
    lost = 5,
    noVision = 6,
  };
  /// One of the above, or the system's own number.
  std::int64_t code = noCamera;
  /// Text for the person.
  std::string localizedDescription;
};

/// What a camera delivers once it is open.
struct CameraFormat {
  /// Of the upright picture, in pixels.
  PixelSize resolution;
  /// A front camera's picture is shown as in a mirror. It is never mirrored in memory.
  bool isFront = true;
};

/// Port: the front camera of one capture screen, or the only camera. Made, started, stopped and
/// destroyed on the main thread. Of its formats it takes the 4:2:0 one of the highest resolution.
class Camera {
 public:
  /// What a camera calls, from any thread. Calls that come after `stopRunning` have no effect, so a
  /// camera need not wait for them.
  struct Events {
    /// Once, before the first frame.
    std::function<void(const CameraFormat&)> opened;
    /// A frame; null when the camera has one whose pixels it could not get. Returns at once: frames
    /// that come while an earlier one is looked at are dropped. True if this one is looked at.
    std::function<bool(PixelBufferPtr)> frame;
    /// It could not be opened, or was lost. Once, and no frame follows.
    std::function<void(CameraError)> failed;
  };

  virtual ~Camera() = default;
  /// Once. Opens the camera without blocking; an error is told later or within the call.
  virtual void startRunning(Events events) = 0;
  /// Gives the camera back. Also before it has opened; more than once; within a call of `Events`.
  /// The system's camera and those of files wait for a call of `Events` that runs, other than one
  /// that this is called from, as none takes long; frames that a host pushes may be on their way.
  virtual void stopRunning() = 0;
};

}  // namespace veltrane
