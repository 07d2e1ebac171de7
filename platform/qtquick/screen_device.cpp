#include "platform/qtquick/screen_device.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace veltrane::qtquick {
namespace {

constexpr int kTabletShortSide = 600;

}  // namespace

double ScreenDevice::screenScale() const {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? screen->devicePixelRatio() : 1.0;
}

InterfaceIdiom ScreenDevice::userInterfaceIdiom() const {
  if (idiom_) return *idiom_;
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (!screen) return InterfaceIdiom::phone;
  const QSize size = screen->size();
  return std::min(size.width(), size.height()) >= kTabletShortSide ? InterfaceIdiom::pad
                                                                   : InterfaceIdiom::phone;
}

}  // namespace veltrane::qtquick
