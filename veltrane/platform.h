#pragma once

#include <functional>
#include <memory>

namespace veltrane {

class Camera;
class ConsoleSink;
class CredentialsManager;
class Device;
class FaceVision;
class HTTPTransport;
class ImageDownloads;
class JumioAuthenticationSDK;
class KeyValueStore;
class MainQueue;
class NetverifySDK;
class NotificationCenter;
class OnfidoSDK;
class PictureCodec;
class Storyboard;
class WorkQueue;

/// The one list of ports: everything the core asks of the world around it. A host installs it once,
/// before its first `VTFlow`, on the user-interface thread; `veltrane::qtquick::install()` fills in
/// the usual adapters and a host replaces what it likes.
///
/// Each port's header says which thread calls it and what an absent one means.
struct Platform {
  /// Required: the host's user-interface thread and its timers (toolkit/main_queue.h).
  std::shared_ptr<MainQueue> mainQueue;
  /// Required: "vtFlowNotification" travels here (toolkit/notification_center.h).
  std::shared_ptr<NotificationCenter> notificationCenter;
  /// Required: identifier to screen; `makeMainStoryboard()` gives ours (toolkit/storyboard.h).
  std::shared_ptr<Storyboard> storyboard;
  /// Required: settings that outlive the process (flow/key_value_store.h).
  std::shared_ptr<KeyValueStore> settings;
  /// Required: HTTP over verified TLS (network/http_transport.h).
  std::shared_ptr<HTTPTransport> transport;
  /// Optional: screen and device class; absent: a phone of scale 1 (toolkit/device.h).
  std::shared_ptr<Device> device;
  /// Optional: decodes and scales pictures; absent: pictures stay empty (toolkit/picture_codec.h).
  std::shared_ptr<PictureCodec> pictureCodec;
  /// Never null: where pictures are decoded; a thread of its own unless a host has one to spare
  /// (toolkit/work_queue.h).
  std::shared_ptr<WorkQueue> pictureQueue;
  /// Never null: downloaded pictures, kept up to 64 MiB unless a host sets another limit
  /// (network/image_downloads.h).
  std::shared_ptr<ImageDownloads> imageDownloads;
  /// Optional: diagnostic lines; absent: standard error (base/console.h).
  std::shared_ptr<ConsoleSink> console;
  /// Shows secrets on the console. For a host's own debug builds, never for a release.
  bool consoleShowsSecrets = false;
  /// Optional: makes the passkey library's object for one screen; absent: passkey steps end with an
  /// error (engine/credentials_manager.h).
  std::function<std::shared_ptr<CredentialsManager>()> makeCredentialsManager;
  /// Optional: the camera of one face capture screen; absent, or null: the screen says that there
  /// is none (face/camera.h). Main thread.
  std::function<std::shared_ptr<Camera>()> makeCamera;
  /// Optional: what finds faces for one face capture screen; absent, or null: the screen says so
  /// (face/face_vision.h). Main thread.
  std::function<std::shared_ptr<FaceVision>()> makeFaceVision;
  /// Optional: an identity vendor's document scan; absent: an alert says that this device cannot do
  /// the step, as for the next two (connectors/netverify_sdk.h).
  std::shared_ptr<NetverifySDK> netverify;
  /// Optional: the same vendor's face check (connectors/jumio_authentication_sdk.h).
  std::shared_ptr<JumioAuthenticationSDK> jumioAuthentication;
  /// Optional: another vendor's capture flow (connectors/onfido_sdk.h).
  std::shared_ptr<OnfidoSDK> onfido;

  Platform();
  ~Platform();
  Platform(const Platform&);
  Platform& operator=(const Platform&);
  Platform(Platform&&) noexcept;
  Platform& operator=(Platform&&) noexcept;

  /// The installed one; before `install`, one without any port. Any thread, but `install` only
  /// while no thread of a port's can call back: before the first flow, or after the last.
  static const Platform& current();
  static void install(Platform platform);
};

/// Installs a platform for a scope and brings the former one back. For tests and embedders that run
/// flows one after another with different ports.
class PlatformScope {
 public:
  explicit PlatformScope(Platform platform);
  ~PlatformScope();
  PlatformScope(const PlatformScope&) = delete;
  PlatformScope& operator=(const PlatformScope&) = delete;

 private:
  Platform former_;
};

}  // namespace veltrane
