#include "platform/qtquick/multimedia/media_camera.h"

#include <QCamera>
#include <QCameraDevice>
#include <QMediaCaptureSession>
#include <QMediaDevices>
#include <QTimer>
#include <QVideoSink>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/qtquick/multimedia/camera_choice.h"
#include "platform/qtquick/multimedia/camera_permission.h"
#include "platform/qtquick/multimedia/frame_relay.h"
#include "platform/qtquick/multimedia/video_frames.h"

namespace veltrane::qtquick::multimedia {
namespace {

using namespace std::chrono_literals;

/// A camera that another program holds may say nothing at all.
constexpr auto kLongestSilence = 8s;

QCameraDevice usualDevice() {
  const auto devices = QMediaDevices::videoInputs();
  std::vector<OfferedDevice> offered;
  for (const auto& device : devices) {
    const auto position = device.position() == QCameraDevice::FrontFace  ? OfferedDevice::front
                          : device.position() == QCameraDevice::BackFace ? OfferedDevice::back
                                                                         : OfferedDevice::unknown;
    offered.push_back({position, device.isDefault()});
  }
  const auto chosen = chooseDevice(offered);
  return chosen ? devices[static_cast<qsizetype>(*chosen)] : QCameraDevice();
}

/// Nothing when the camera tells of formats and none will do.
std::optional<QCameraFormat> usualFormat(const QCameraDevice& device) {
  const auto formats = device.videoFormats();
  if (formats.isEmpty()) return QCameraFormat();
  std::vector<OfferedFormat> offered;
  for (const auto& format : formats) {
    const QSize size = format.resolution();
    offered.push_back(
        {kindOf(format.pixelFormat()), {size.width(), size.height()}, format.maxFrameRate()});
  }
  const auto chosen = chooseFormat(offered);
  if (!chosen) return std::nullopt;
  return formats[static_cast<qsizetype>(*chosen)];
}

/// One camera from its start to its end.
class Run final : public QObject {
 public:
  Run(const QCameraDevice& device, const QCameraFormat& format, const Host& host,
      const Camera::Events& events)
      : device_(device),
        failed_(events.failed),
        relay_(host, events, device.position() != QCameraDevice::BackFace),
        camera_(device) {
    if (!format.isNull()) camera_.setCameraFormat(format);
    session_.setCamera(&camera_);
    session_.setVideoSink(&sink_);
    connect(
        &sink_, &QVideoSink::videoFrameChanged, this,
        [this](const QVideoFrame& frame) { relay_.take(frame); }, Qt::DirectConnection);
    connect(&camera_, &QCamera::errorOccurred, this, [this] { fail(); });
    connect(&devices_, &QMediaDevices::videoInputsChanged, this, [this] {
      if (!isListed()) fail();
    });
    connect(&silence_, &QTimer::timeout, this, [this] {
      if (!relay_.hasShownFrames()) fail();
    });
    silence_.setSingleShot(true);
  }

  void start() {
    silence_.start(kLongestSilence);
    camera_.start();
  }

  /// May be called within a call of this object's.
  void stop() {
    relay_.stop();
    isOver_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
          camera_.stop();
          deleteLater();
        },
        Qt::QueuedConnection);
  }

 private:
  bool isListed() const { return QMediaDevices::videoInputs().contains(device_); }

  void fail() {
    if (std::exchange(isOver_, true)) return;
    relay_.stop();
    const bool isUnusable = relay_.hasSeenFrames() && !relay_.hasShownFrames();
    if (isUnusable && isListed()) return failed_(noSuitableFormat());
    failed_(failureOf({.isListed = isListed(),
                       .isForbidden = isForbidden(device_.id().toStdString()),
                       .hasShownFrames = relay_.hasShownFrames()}));
  }

  const QCameraDevice device_;
  const std::function<void(CameraError)> failed_;
  FrameRelay relay_;
  QMediaDevices devices_;
  QMediaCaptureSession session_;
  QCamera camera_;
  QVideoSink sink_;
  QTimer silence_;
  bool isOver_ = false;
};

class MediaCamera final : public Camera {
 public:
  explicit MediaCamera(const Host& host) : host_(host) {}
  ~MediaCamera() override { stopRunning(); }

  void startRunning(Events events) override {
    const QCameraDevice device = usualDevice();
    if (device.isNull()) {
      return events.failed(failureOf({.isForbidden = isEveryCameraForbidden()}));
    }
    const auto format = usualFormat(device);
    if (!format) return events.failed(noSuitableFormat());
    run_ = new Run(device, *format, host_, events);
    run_->start();
  }

  void stopRunning() override {
    if (run_) std::exchange(run_, nullptr)->stop();
  }

 private:
  const Host& host_;
  /// Deletes itself.
  Run* run_ = nullptr;
};

}  // namespace

std::shared_ptr<Camera> makeCamera(const Host& host) {
  return std::make_shared<MediaCamera>(host);
}

}  // namespace veltrane::qtquick::multimedia
