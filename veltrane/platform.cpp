#include "veltrane/platform.h"

#include <utility>

#include "veltrane/network/image_downloads.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane {
namespace {

Platform& installed() {
  static Platform platform;
  return platform;
}

}  // namespace

Platform::Platform()
    : pictureQueue(std::make_shared<ThreadWorkQueue>()),
      imageDownloads(std::make_shared<ImageDownloads>()) {}
Platform::~Platform() = default;
Platform::Platform(const Platform&) = default;
Platform& Platform::operator=(const Platform&) = default;
Platform::Platform(Platform&&) noexcept = default;
Platform& Platform::operator=(Platform&&) noexcept = default;

const Platform& Platform::current() {
  return installed();
}

void Platform::install(Platform platform) {
  installed() = std::move(platform);
}

PlatformScope::PlatformScope(Platform platform) : former_(Platform::current()) {
  Platform::install(std::move(platform));
}

PlatformScope::~PlatformScope() {
  Platform::install(std::move(former_));
}

}  // namespace veltrane
