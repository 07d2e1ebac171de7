#pragma once

#include <string>

namespace veltrane::tool {

/// A message from wherever, as it follows "vtflow COMMAND: ": one line that begins small, unless
/// with a name, and has no full stop at its end.
std::string asReason(std::string message);

}  // namespace veltrane::tool
