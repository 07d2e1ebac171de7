#pragma once

#include <string_view>

namespace veltrane {

/// Stops the program with a line on standard error. For a host's programming errors only: nothing a
/// server sends may lead here.
[[noreturn]] void fatal(std::string_view message) noexcept;

}  // namespace veltrane
