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

std::shared_ptr<CaptureSounds> makeCaptureSounds() {
  return maker() ? maker()() : nullptr;
}

}  // namespace veltrane::qtquick
