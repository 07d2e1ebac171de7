#pragma once

#include <memory>

#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick::multimedia {

/// Played by the system's usual device. Null when there is none.
std::shared_ptr<CaptureSounds> makeSounds();

}  // namespace veltrane::qtquick::multimedia
