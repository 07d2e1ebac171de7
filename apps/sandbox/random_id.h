#pragma once

#include <string>

namespace veltrane::sandbox {

/// A random UUID, 36 characters.
std::string randomId();

}  // namespace veltrane::sandbox
