#pragma once

#include <functional>
#include <memory>

#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick {

/// Null when there is nothing to be heard from.
using MakeCaptureSounds = std::function<std::shared_ptr<CaptureSounds>()>;

/// What every capture screen that opens from now on is heard by; empty, as at first: silence. User
/// interface thread.
void useCaptureSounds(MakeCaptureSounds make);

/// Empty when there is nothing to be heard.
MakeCaptureSounds captureSoundsMaker();

}  // namespace veltrane::qtquick
