#include "platform/qtquick/multimedia_library.h"

#include <string>
#include <utility>

#if defined(VELTRANE_MULTIMEDIA_LIBRARY) && defined(VELTRANE_LOAD_LATE)
#include <dlfcn.h>
#endif

#include "veltrane/base/console.h"

namespace veltrane::qtquick {
namespace {

using multimedia::Module;

#if defined(VELTRANE_MULTIMEDIA_LIBRARY) && defined(VELTRANE_LOAD_LATE)

// By name, no path: the loader looks where the program says and where libraries are. It stays.
const Module* load() {
  void* const library = dlopen(VELTRANE_MULTIMEDIA_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
  void* const symbol = library ? dlsym(library, multimedia::kModuleSymbol) : nullptr;
  if (symbol) return reinterpret_cast<multimedia::FindModule>(symbol)();
  const char* const reason = dlerror();
  console::print(std::string("No camera: ") + (reason ? reason : "the library is another one"));
  return nullptr;
}

#elif defined(VELTRANE_MULTIMEDIA_LIBRARY)

const Module* load() {
  return veltrane_multimedia_module();
}

#else

const Module* load() {
  console::print("No camera: built without Qt Multimedia.");
  return nullptr;
}

#endif

const Module* module() {
  static const Module* const loaded = load();
  return loaded;
}

class SystemCamera final : public Camera {
 public:
  void startRunning(Events events) override {
    static constexpr multimedia::Host host;
    if (!module()) {
      return events.failed({CameraError::noCamera, "The camera is not available."});
    }
    camera_ = module()->makeCamera(host);
    camera_->startRunning(std::move(events));
  }
  void stopRunning() override {
    if (camera_) camera_->stopRunning();
  }

 private:
  std::shared_ptr<Camera> camera_;
};

}  // namespace

std::shared_ptr<Camera> makeSystemCamera() {
  return std::make_shared<SystemCamera>();
}

std::shared_ptr<CaptureSounds> makeSystemSounds() {
  return module() ? module()->makeSounds() : nullptr;
}

}  // namespace veltrane::qtquick
