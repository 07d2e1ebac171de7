#include "platform/qtquick/install.h"

#include <QCoreApplication>
#include <QEvent>
#include <QQuickWindow>
#include <chrono>
#include <memory>
#include <utility>

// The one file of this folder that knows the other adapters: it puts the usual set together.
#include "platform/authenticator/platform_authenticator.h"
#include "platform/authenticator/usual_keepers.h"
#include "platform/curl/curl_transport.h"
#include "platform/fido2/security_key_authenticator.h"
#ifdef VELTRANE_OPENCV
#include "platform/opencv/face_vision.h"
#endif
#include "platform/pictures/codec.h"
#include "platform/publicsuffix/public_suffix_list.h"
#include "platform/qtquick/capture_sounds.h"
#include "platform/qtquick/hand_over_item.h"
#include "platform/qtquick/main_queue.h"
#include "platform/qtquick/multimedia_library.h"
#include "platform/qtquick/passkey_presenter.h"
#include "platform/qtquick/screen_device.h"
#include "platform/qtquick/view_registry.h"
#include "platform/sqlite/sqlite_store.h"
#ifdef VELTRANE_HAS_WEBENGINE
#include "platform/webengine/browser_module.h"
#include "platform/webengine/sheet_item.h"
#include "platform/webengine/web_clients.h"
#endif
#include "veltrane/base/console.h"
#include "veltrane/passkeys/webauthn_client.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/main_storyboard.h"

// Made by the build. Called by name, so that a linker that drops what nobody mentions keeps it.
void qml_register_types_Veltrane_Flow();
#ifdef VELTRANE_HAS_WEBENGINE
void qml_register_types_Veltrane_HandOver();
#endif

namespace veltrane::qtquick {
namespace {

/// Lets the network's libraries be loaded once the first window has been drawn: until then the
/// loader is busy with those of its views.
class FirstFrame final : public QObject {
 public:
  FirstFrame(std::weak_ptr<curl::CurlTransport> transport, QObject* parent)
      : QObject(parent), transport_(std::move(transport)) {
    QCoreApplication::instance()->installEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* window = event->type() == QEvent::Expose ? qobject_cast<QQuickWindow*>(watched) : nullptr;
    if (window) {
      QCoreApplication::instance()->removeEventFilter(this);
      // On the thread that draws.
      connect(
          window, &QQuickWindow::frameSwapped, this,
          [transport = transport_] {
            if (const auto waiting = transport.lock()) waiting->hurry();
          },
          static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::SingleShotConnection));
    }
    return QObject::eventFilter(watched, event);
  }

 private:
  std::weak_ptr<curl::CurlTransport> transport_;
};

/// For hosts that draw nothing for a while.
constexpr std::chrono::milliseconds kHeadStart{100};

WebAuthnClient::Parts passkeys(const Options& options) {
  const auto file = options.passkeysFile.value_or(authenticator::defaultPasskeyFile());
  const bool hasKeepers = options.machineKeepsPasskeys;
  return {
      .authenticators =
          [file, hasKeepers] {
            return std::vector<std::shared_ptr<Authenticator>>{
                std::make_shared<authenticator::PlatformAuthenticator>(
                    authenticator::PlatformAuthenticatorOptions{
                        .file = file,
                        .keepers = hasKeepers ? authenticator::usualKeepers()
                                              : std::vector<authenticator::KeyKeeperFactory>()}),
                std::make_shared<fido2::SecurityKeyAuthenticator>()};
          },
      .presenter = std::make_shared<QtPasskeyPresenter>(),
      .suffixes = publicsuffix::make()};
}

#ifdef VELTRANE_HAS_WEBENGINE

// What the vendors want to read as "User-Agent": company and application.
std::string userAgent() {
  const QString company = QCoreApplication::organizationName();
  const QString application = QCoreApplication::applicationName();
  const QString version = QCoreApplication::applicationVersion();
  QString name = company.isEmpty() ? application : company + QLatin1Char(' ') + application;
  if (!version.isEmpty()) name += QLatin1Char('/') + version;
  // It travels in a header.
  for (QChar& letter : name) {
    if (letter.unicode() < 0x20 || letter.unicode() > 0x7E) letter = QLatin1Char('-');
  }
  return name.isEmpty() ? "VeltraneFlow" : name.toStdString();
}

void showSheets(const QString& modules) {
  registerView(
      std::string(webengine::kSheetScreenName),
      {[modules](std::shared_ptr<ViewController> controller, FlowStage& stage,
                 const ViewItem* /*below*/) -> std::unique_ptr<ViewItem> {
         auto sheet = webengine::SheetItem::make(*controller, modules);
         const auto close = [sheet = sheet.get()] {
           if (sheet) sheet->close();
         };
         return std::make_unique<HandOverItem>(std::move(controller), stage, std::move(sheet),
                                               close);
       },
       QUrl(QStringLiteral("qrc:/qt-project.org/imports/Veltrane/HandOver/WebHandOver.qml"))});
}

void addWebClients(const Options& options, Platform& platform) {
  const QString modules = webengine::findBrowserModules(
      options.webModules ? QString::fromStdString(options.webModules->string()) : QString());
  if (modules.isEmpty()) return;
  showSheets(modules);
  auto addresses = options.identityVendors;
  if (addresses.userAgent.empty()) addresses.userAgent = userAgent();
  platform.netverify = webengine::makeNetverify(addresses);
  platform.jumioAuthentication = webengine::makeJumioAuthentication(addresses);
  platform.onfido = webengine::makeOnfido(addresses);
}

#endif

}  // namespace

void registerTypes() {
  qml_register_types_Veltrane_Flow();
#ifdef VELTRANE_HAS_WEBENGINE
  qml_register_types_Veltrane_HandOver();
#endif
}

Platform makePlatform(const Options& options) {
  Platform platform;
  platform.mainQueue = std::make_shared<QtMainQueue>();
  platform.notificationCenter = std::make_shared<NotificationCenter>();
  platform.storyboard = makeMainStoryboard();
  platform.settings = sqlite::open(options.settingsFile.value_or(sqlite::defaultStoreFile()));
  // Reported from the transport's thread, which must not look at what is installed.
  auto tell = options.requestFailed;
  if (!tell) tell = [](const std::string& line) { console::print(line); };
  const auto report = [queue = std::weak_ptr(platform.mainQueue), tell](const std::string& line) {
    if (const auto main = queue.lock()) main->async([line, tell] { tell(line); });
  };
  const auto transport = curl::make(
      {.authorityFile = options.authorityFile, .report = report, .headStart = kHeadStart});
  new FirstFrame(transport, QCoreApplication::instance());
  platform.transport = transport;
  platform.pictureCodec = std::make_shared<pictures::Codec>();
  platform.device = std::make_shared<ScreenDevice>(options.idiom);
  platform.makeCredentialsManager = makeWebAuthnClients(passkeys(options));
  platform.makeCamera = options.makeCamera ? options.makeCamera : makeSystemCamera;
#ifdef VELTRANE_OPENCV
  platform.makeFaceVision = opencv::makeFaceVision;
#endif
  useCaptureSounds(options.captureTone ? makeSystemSounds : MakeCaptureSounds());
#ifdef VELTRANE_HAS_WEBENGINE
  addWebClients(options, platform);
#endif
  return platform;
}

void install(const Options& options) {
  registerTypes();
  Platform::install(makePlatform(options));
}

bool isInstalled() {
  return Platform::current().mainQueue != nullptr;
}

}  // namespace veltrane::qtquick
