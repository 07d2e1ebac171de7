#include "platform/qtquick/multimedia_library.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <string>
#include <thread>
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

/// Loads the library on a thread of its own, so that the screen opens smoothly; the rest has to be
/// done on the main one.
class SystemCamera final : public Camera, public std::enable_shared_from_this<SystemCamera> {
 public:
  ~SystemCamera() override { stopRunning(); }

  void startRunning(Events events) override {
    isWanted_ = true;
    loading_ = std::thread([weak = weak_from_this(), events = std::move(events)] {
      module();
      const auto loaded = [weak, events] {
        const auto self = weak.lock();
        if (self && self->isWanted_) self->open(events);
      };
      QMetaObject::invokeMethod(qApp, loaded, Qt::QueuedConnection);
    });
  }
  void stopRunning() override {
    isWanted_ = false;
    if (loading_.joinable()) loading_.join();
    if (camera_) camera_->stopRunning();
  }

 private:
  void open(const Events& events) {
    static constexpr multimedia::Host host;
    if (!module()) {
      return events.failed({CameraError::noCamera, "The camera is not available."});
    }
    camera_ = module()->makeCamera(host);
    camera_->startRunning(events);
  }

  std::thread loading_;
  std::shared_ptr<Camera> camera_;
  bool isWanted_ = false;
};

}  // namespace

std::shared_ptr<Camera> makeSystemCamera() {
  return std::make_shared<SystemCamera>();
}

std::shared_ptr<CaptureSounds> makeSystemSounds() {
  return module() ? module()->makeSounds() : nullptr;
}

}  // namespace veltrane::qtquick
