#include "platform/qtquick/multimedia/media_camera.h"

#include <QCamera>
#include <QCameraDevice>
#include <QCoreApplication>
#include <QMediaCaptureSession>
#include <QMediaDevices>
#include <QVideoSink>
#include <utility>
#include <vector>

#include "platform/qtquick/multimedia/camera_choice.h"
#include "platform/qtquick/multimedia/camera_permission.h"
#include "platform/qtquick/multimedia/camera_run.h"
#include "platform/qtquick/multimedia/video_frames.h"

namespace veltrane::qtquick::multimedia {
namespace {

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

/// Qt has no number for it, only words, which may be translated.
bool isOfBusyCamera(const QString& words) {
  static constexpr const char* kWords = "Camera is in use.";
  return words == QLatin1String(kWords) ||
         words == QCoreApplication::translate("QV4L2Camera", kWords);
}

class MediaSource final : public CameraSource {
 public:
  MediaSource(const QCameraDevice& device, const QCameraFormat& format)
      : device_(device), camera_(device) {
    if (!format.isNull()) camera_.setCameraFormat(format);
    session_.setCamera(&camera_);
    session_.setVideoSink(&sink_);
  }
  ~MediaSource() override { camera_.stop(); }

  void start(Events events) override {
    QObject::connect(
        &sink_, &QVideoSink::videoFrameChanged, &sink_,
        [took = std::move(events.frame)](const QVideoFrame& frame) { took(frame); },
        Qt::DirectConnection);
    QObject::connect(
        &camera_, &QCamera::errorOccurred, &camera_,
        [failed = std::move(events.failed)](QCamera::Error error, const QString& words) {
          failed({.number = error, .words = words.toStdString(), .isBusy = isOfBusyCamera(words)});
        });
    QObject::connect(&devices_, &QMediaDevices::videoInputsChanged, &devices_,
                     std::move(events.listChanged));
    camera_.start();
  }

  bool isFront() const override { return device_.position() != QCameraDevice::BackFace; }
  bool isListed() const override { return QMediaDevices::videoInputs().contains(device_); }
  bool isForbidden() const override { return multimedia::isForbidden(device_.id().toStdString()); }

 private:
  const QCameraDevice device_;
  QMediaDevices devices_;
  QMediaCaptureSession session_;
  QCamera camera_;
  QVideoSink sink_;
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
    run_ = new CameraRun(std::make_unique<MediaSource>(device, *format), host_, events);
    run_->start();
  }

  void stopRunning() override {
    if (run_) std::exchange(run_, nullptr)->stop();
  }

 private:
  const Host& host_;
  /// Deletes itself.
  CameraRun* run_ = nullptr;
};

}  // namespace

std::shared_ptr<Camera> makeCamera(const Host& host) {
  return std::make_shared<MediaCamera>(host);
}

}  // namespace veltrane::qtquick::multimedia
