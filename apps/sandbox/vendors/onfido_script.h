#pragma once

#include <optional>
#include <string>

#include "apps/sandbox/flow.h"

namespace veltrane::sandbox {

/// The script with `Onfido.init`, in the trouble that the path names; nothing at other paths.
std::optional<Reply> onfidoScript(const std::string& path);

}  // namespace veltrane::sandbox
