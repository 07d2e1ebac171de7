#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace veltrane::qtquick::multimedia {

/// Where cameras are files: this program may not read and write the one of this name. False where
/// they are none.
bool isForbidden(const std::string& device);

/// There are cameras and none may be opened, in which case the system tells of none at all. The
/// arguments are for tests.
bool isEveryCameraForbidden(const std::filesystem::path& devices = "/dev",
                            const std::function<bool(const std::string&)>& forbids = isForbidden);

}  // namespace veltrane::qtquick::multimedia
