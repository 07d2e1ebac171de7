#include "platform/qtquick/multimedia/camera_permission.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace veltrane::qtquick::multimedia {

bool isForbidden(const std::string& device) {
  if (!device.starts_with('/')) return false;
  return access(device.c_str(), R_OK | W_OK) != 0 && errno == EACCES;
}

bool isEveryCameraForbidden(const std::filesystem::path& devices,
                            const std::function<bool(const std::string&)>& forbids) {
  std::error_code failure;
  bool hasAny = false;
  for (std::filesystem::directory_iterator each(devices, failure), end; !failure && each != end;
       each.increment(failure)) {
    if (!each->path().filename().string().starts_with("video")) continue;
    hasAny = true;
    if (!forbids(each->path().string())) return false;
  }
  return hasAny;
}

}  // namespace veltrane::qtquick::multimedia
