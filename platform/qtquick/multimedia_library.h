#pragma once

#include <memory>

#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick {

/// The system's front camera, or its only one, by Qt Multimedia; which is loaded when it is
/// started, off the main thread. Stopping it, or destroying it, while that goes on waits for the
/// rest, as the thread that loads needs the application to be there when it is done: whoever
/// cancels at once may wait for some hundred milliseconds. Where it is not installed the camera
/// fails and says so. Never null.
std::shared_ptr<Camera> makeSystemCamera();

/// Null where there is nothing to be heard from. Main thread.
std::shared_ptr<CaptureSounds> makeSystemSounds();

}  // namespace veltrane::qtquick
