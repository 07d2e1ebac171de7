#include "platform/qtquick/multimedia/media_module.h"

#include "platform/qtquick/multimedia/media_camera.h"
#include "platform/qtquick/multimedia/media_sounds.h"

const veltrane::qtquick::multimedia::Module* veltrane_multimedia_module() {
  using namespace veltrane::qtquick::multimedia;
  static constexpr Module module{makeCamera, makeSounds};
  return &module;
}
