#include "platform/qtquick/install.h"

// The one file of this folder that knows the other adapters: it puts the usual set together.
#include "platform/curl/curl_transport.h"
#include "platform/pictures/codec.h"
#include "platform/qtquick/main_queue.h"
#include "platform/qtquick/screen_device.h"
#include "platform/sqlite/sqlite_store.h"
#include "veltrane/base/console.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/main_storyboard.h"

// Made by the build. Called by name, so that a linker that drops what nobody mentions keeps it.
void qml_register_types_Veltrane_Flow();

namespace veltrane::qtquick {

void registerTypes() {
  qml_register_types_Veltrane_Flow();
}

Platform makePlatform(const Options& options) {
  Platform platform;
  platform.mainQueue = std::make_shared<QtMainQueue>();
  platform.notificationCenter = std::make_shared<NotificationCenter>();
  platform.storyboard = makeMainStoryboard();
  platform.settings = sqlite::open(options.settingsFile.value_or(sqlite::defaultStoreFile()));
  // Reported from the transport's thread, which must not look at what is installed.
  const auto report = [queue = std::weak_ptr(platform.mainQueue)](const std::string& line) {
    if (const auto main = queue.lock()) main->async([line] { console::print(line); });
  };
  platform.transport = curl::make({.authorityFile = options.authorityFile, .report = report});
  platform.pictureCodec = std::make_shared<pictures::Codec>();
  platform.device = std::make_shared<ScreenDevice>(options.idiom);
  return platform;
}

void install(const Options& options) {
  registerTypes();
  Platform::install(makePlatform(options));
}

bool isInstalled() {
  return Platform::current().mainQueue != nullptr;
}

}  // namespace veltrane::qtquick
