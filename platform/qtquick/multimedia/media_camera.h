#pragma once

#include <memory>

#include "platform/qtquick/multimedia/media_module.h"

namespace veltrane::qtquick::multimedia {

/// The system's front camera, or its only one.
std::shared_ptr<Camera> makeCamera(const Host& host);

}  // namespace veltrane::qtquick::multimedia
