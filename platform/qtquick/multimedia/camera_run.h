#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/qtquick/multimedia/camera_source.h"
#include "platform/qtquick/multimedia/frame_relay.h"

namespace veltrane::qtquick::multimedia {

/// One camera from its start to its end: hands its frames on, and tells once when it does not do,
/// also when it says nothing any more. Main thread.
class CameraRun final : public QObject {
 public:
  /// How often it is looked whether there have been frames with pixels, and how many times in a row
  /// there were none when the camera is given up: a machine that wakes up may fire a timer before
  /// its camera has had time.
  static constexpr std::chrono::milliseconds kPause{2'000};
  static constexpr int kSilentLooks = 4;

  CameraRun(std::unique_ptr<CameraSource> source, const Host& host, const Camera::Events& events,
            std::chrono::milliseconds pause = kPause);

  void start();
  /// No call runs when this returns but the one that it may have been called from; none follows.
  /// The camera is given back, and this object goes, when the event loop runs again. Once.
  void stop();
  /// The pause is over.
  void look();

 private:
  void fail(const CameraFault& fault);

  const std::function<void(CameraError)> failed_;
  FrameRelay relay_;
  std::unique_ptr<CameraSource> source_;
  QTimer timer_;
  std::uint64_t shownBefore_ = 0;
  int silentLooks_ = 0;
  bool isOver_ = false;
};

}  // namespace veltrane::qtquick::multimedia
