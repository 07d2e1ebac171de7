#pragma once

#include <vector>

#include "platform/authenticator/platform_authenticator.h"

namespace veltrane::authenticator {

/// What a machine may have to keep keys with, best first: its TPM 2.0, then the desktop's secret
/// service. Nothing is looked for, or loaded, before a key is needed.
std::vector<KeyKeeperFactory> usualKeepers();

}  // namespace veltrane::authenticator
