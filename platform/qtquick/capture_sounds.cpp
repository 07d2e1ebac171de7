#include "platform/qtquick/capture_sounds.h"

#include <utility>

namespace veltrane::qtquick {
namespace {

MakeCaptureSounds& maker() {
  static MakeCaptureSounds make;
  return make;
}

}  // namespace

void useCaptureSounds(MakeCaptureSounds make) {
  maker() = std::move(make);
}

MakeCaptureSounds captureSoundsMaker() {
  return maker();
}

}  // namespace veltrane::qtquick
