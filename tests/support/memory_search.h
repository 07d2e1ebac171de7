#pragma once

#include <string>

namespace veltrane::testing {

/// How often bytes stand in this process's memory, as a core file would have it. They are given
/// turned around, so that they are not found in their own place.
int countInMemory(const std::string& turned);

}  // namespace veltrane::testing
