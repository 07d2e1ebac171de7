#pragma once

#include <filesystem>

#include "apps/vtflow/doctor/finding.h"

namespace veltrane::tool {

/// Whether the file in which this machine keeps passkeys can be used, is sound, and is its owner's
/// alone. Nothing is changed, and none is made.
Finding judgePasskeyFile(const std::filesystem::path& file);

}  // namespace veltrane::tool
