#include "tests/qtquick/capture_fixture.h"

#include <cstring>

namespace veltrane::qtquick::test {

PixelBufferPtr frameOf(const QImage& image) {
  const QImage pixels = image.convertToFormat(QImage::Format_RGB32);
  auto made = PixelBuffer::allocate(PixelFormat::bgra, {pixels.width(), pixels.height()});
  for (int y = 0; y < pixels.height(); ++y) {
    std::memcpy(made.planes[0] + y * made.buffer->planes[0].stride, pixels.constScanLine(y),
                static_cast<std::size_t>(4 * pixels.width()));
  }
  return made.buffer;
}

QImage shades(QSize size) {
  QImage image(size, QImage::Format_RGB32);
  for (int y = 0; y < size.height(); ++y) {
    for (int x = 0; x < size.width(); ++x) {
      const int shade = 60 + 160 * x / size.width();
      image.setPixel(x, y, qRgb(shade, shade, shade));
    }
  }
  return image;
}

Platform CaptureFrontEnd::portsWith(CaptureFrontEnd& test) {
  Platform ports = test.platform_.ports();
  ports.pictureCodec = test.codec_;
  ports.makeCamera = [&test] { return test.camera_; };
  ports.makeFaceVision = [&test] { return test.vision_; };
  return ports;
}

void CaptureFrontEnd::show() {
  capture_->modalPresentationStyle = ModalPresentationStyle::fullScreen;
  presenter_.hostViewController()->present(capture_, true);
  settle();
  if (camera_ && camera_->events.opened) {
    camera_->events.opened({.resolution = {1280, 720}, .isFront = true});
  }
  settle();
}

void CaptureFrontEnd::film(const PixelBufferPtr& frame, const std::function<bool()>& condition) {
  waitFor([&] {
    if (condition()) return true;
    camera_->events.frame(frame);
    return false;
  });
  settle();
}

void CaptureFrontEnd::follow(std::vector<Rect> faces, const PixelBufferPtr& frame) {
  vision_->see({.faces = std::move(faces)});
  platform_.console->take();
  film(frame, [this] { return platform_.console->mentions("face "); });
}

QImage CaptureFrontEnd::seen() {
  // The drawing in memory repairs only what has changed; this makes it draw everything afresh.
  stage().activeView()->content()->setOpacity(0.999);
  window_.grabWindow();
  stage().activeView()->content()->setOpacity(1);
  return window_.grabWindow();
}

}  // namespace veltrane::qtquick::test
