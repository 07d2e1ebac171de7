#pragma once

#include <cstddef>

namespace veltrane::test {

/// Calls of `operator new` by this program so far, on all threads.
std::size_t allocations();

}  // namespace veltrane::test
