#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "veltrane/face/camera.h"
#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// A camera of the host's own, who pushes its frames: on a phone, on a kiosk, or wherever frames
/// come from a program that is there already. The host makes one in `Platform::makeCamera` for each
/// capture screen, keeps a handle, and calls `push` for each picture that its camera delivers.
///
/// Frames may come from any thread, from several at once, as fast as they like and at any time:
/// what comes too early, too late or while another frame is being handed over is dropped. What the
/// screen hears comes in order, one call at a time.
class HostCamera final : public Camera {
 public:
  struct Options {
    /// The screen wants frames from now on. On the main thread, once; may push before it returns,
    /// or call `lost` when the camera cannot be opened.
    std::function<void()> started;
    /// No frame is wanted any more: the camera may be given back. On the main thread, once, after
    /// `started` alone; also after `lost`. The screen does not wait for frames that are on their
    /// way.
    std::function<void()> stopped;
    /// The camera looks at the person: the live picture is shown as in a mirror.
    bool isFront = true;
  };

  explicit HostCamera(Options options);
  ~HostCamera() override;
  HostCamera(const HostCamera&) = delete;
  HostCamera& operator=(const HostCamera&) = delete;

  /// A frame; null, or without pixels, when the camera had one that it could not get hold of. Any
  /// thread; returns at once and never waits for vision. The first one with pixels opens the
  /// camera, and its upright size is the resolution that the screen hears of; that frames before it
  /// are of no use is printed once.
  ///
  /// True when the frame will be looked at. False when it is dropped: then the last handle of it
  /// may have gone already, and with it `PixelBuffer::memory`.
  bool push(PixelBufferPtr frame);

  /// The camera could not be opened, or is gone; the person reads why. Any thread. The first one
  /// counts, and no frame follows. Before the screen has asked for frames it is kept until then.
  void lost(CameraError error);

  /// Frames are wanted: between `started` and `stopped`, unless the camera was lost. Any thread.
  bool isWanted() const;

  void startRunning(Events events) override;
  void stopRunning() override;

 private:
  struct Call;
  bool isFirstUseless();
  std::optional<Call> begin(bool hasPixels);
  void finish(const Events& events);

  const Options options_;
  mutable std::mutex mutex_;
  // Guarded by it. None is called under it.
  std::shared_ptr<const Events> events_;
  /// Of a loss that has not been told yet.
  std::optional<CameraError> error_;
  bool isOpen_ = false;
  bool hasToldOfUseless_ = false;
  bool isCalling_ = false;
  bool isOver_ = false;
  // On the main thread alone.
  bool hasStarted_ = false;
};

}  // namespace veltrane
