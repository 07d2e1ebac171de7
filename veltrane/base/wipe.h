#pragma once

#include <cstddef>

namespace veltrane {

/// Writes zeros that the compiler does not leave out. Any thread.
void wipe(void* bytes, std::size_t count) noexcept;

}  // namespace veltrane
