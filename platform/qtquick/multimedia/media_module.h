#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "veltrane/face/camera.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane::qtquick {

// Qt Multimedia's libraries would hold up every start, and few flows need them. So whatever calls
// them stands in a library of its own, loaded when a camera is first opened. Nothing of the core is
// in it: it uses the core's types and is handed what it calls.

/// What leads someone who does not see the screen into the oval. Main thread.
class CaptureSounds {
 public:
  virtual ~CaptureSounds() = default;
  /// A soft tone, the higher the nearer the face is to lying in the oval (from 0 to 1); silence
  /// without a face.
  virtual void setNearness(std::optional<double> nearness) = 0;
  /// A short sound unlike the tone, which ends.
  virtual void pictureTaken() = 0;
};

namespace multimedia {

struct Host {
  PixelBuffer::Writable (*allocate)(PixelFormat, PixelSize,
                                    std::size_t extra) = PixelBuffer::allocate;
  PixelSize (PixelBuffer::*planeSize)(std::size_t plane) const = &PixelBuffer::planeSize;
  PixelSize (PixelBuffer::*uprightSize)() const = &PixelBuffer::uprightSize;
};

struct Module {
  /// `host` outlives the camera.
  std::shared_ptr<Camera> (*makeCamera)(const Host& host);
  /// Null where there is nothing to be heard from.
  std::shared_ptr<CaptureSounds> (*makeSounds)();
};

/// The one symbol that the library has, below.
inline constexpr const char* kModuleSymbol = "veltrane_multimedia_module";
using FindModule = const Module* (*)();

}  // namespace multimedia
}  // namespace veltrane::qtquick

extern "C" [[gnu::visibility("default")]] const veltrane::qtquick::multimedia::Module*
veltrane_multimedia_module();
