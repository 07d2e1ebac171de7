#include "apps/vtflow/drive/drive_command.h"

#include <memory>
#include <utility>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/drive/hand_over/driven_sdks.h"
#include "apps/vtflow/drive/line_reader.h"
#include "apps/vtflow/drive/line_writer.h"
#include "apps/vtflow/drive/passkey_user.h"
#include "apps/vtflow/drive/ports.h"
#include "apps/vtflow/drive/session.h"
#include "apps/vtflow/drive/stage.h"
#include "apps/vtflow/drive/watched_transport.h"
#include "apps/vtflow/temporary_folder.h"
#include "apps/vtflow/termination_signals.h"
#include "platform/authenticator/platform_authenticator.h"
#include "platform/curl/curl_transport.h"
#include "platform/loop/run_loop.h"
#include "platform/opencv/face_vision.h"
#include "platform/opencv/file_camera.h"
#include "platform/pictures/codec.h"
#include "platform/publicsuffix/public_suffix_list.h"
#include "platform/sqlite/sqlite_store.h"
#include "veltrane/face/face_image_capture_vc.h"
#include "veltrane/passkeys/webauthn_client.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/main_storyboard.h"

namespace veltrane::tool {
namespace {

constexpr double kFramesPerSecond = 30;

/// A run from its first line to its last. Members go in the reverse of their order, so that nothing
/// outlives what it uses.
class Drive {
 public:
  Drive(const DriveOptions& options, int output);
  ~Drive();
  int run(int input);

 private:
  std::shared_ptr<LineWriter> greet(int output);
  std::shared_ptr<WatchedTransport> makeTransport() const;
  Platform consoleAlone() const;
  WebAuthnClient::Parts passkeys() const;
  std::shared_ptr<Camera> makeCamera();
  Platform allPorts();
  Activity activity() const;
  /// Work for the main thread that is not the flow's own.
  template <typename Work>
  void onMain(Work work);

  const DriveOptions& options_;
  const TemporaryFolder folder_;
  const std::shared_ptr<loop::RunLoop> loop_ = std::make_shared<loop::RunLoop>();
  const std::shared_ptr<LineWriter> out_;
  const std::shared_ptr<WatchedTransport> transport_;
  const std::shared_ptr<PasskeyUser> passkeyUser_;
  const std::shared_ptr<HandOvers> handOvers_;
  /// Of the latest camera: nothing new comes of it any more.
  std::shared_ptr<bool> cameraHasEnded_ = std::make_shared<bool>(false);
  // The store, when it opens, may have to tell something.
  const PlatformScope console_;
  const PlatformScope ports_;
  const std::shared_ptr<HostViewController> host_ = std::make_shared<HostViewController>();
  Stage stage_;
  int status_ = exit_status::kNoResult;
  const std::shared_ptr<Session> session_;
};

Drive::Drive(const DriveOptions& options, int output)
    : options_(options),
      out_(greet(output)),
      transport_(makeTransport()),
      passkeyUser_(std::make_shared<PasskeyUser>(options.userVerification == "yes")),
      handOvers_(std::make_shared<HandOvers>(out_)),
      console_(consoleAlone()),
      ports_(allPorts()),
      stage_(host_, *out_, handOvers_),
      session_(std::make_shared<Session>(stage_, *out_, activity(), [this](int status) {
        status_ = status;
        loop_->quit();
      })) {}

Drive::~Drive() {
  transport_->stop();
  loop_->setIdleHandler({});
}

int Drive::run(int input) {
  applyServerURLs(options_.flow);
  const auto flow = VTFlow::make(options_.flow.arguments());
  flow->delegate = session_;
  loop_->setIdleHandler([this] { session_->advance(); });
  runFlow(*flow, options_.flow, host_);

  const SignalWatch signals([this] { onMain([](Session& session) { session.interrupted(); }); });
  const LineReader reader(
      input, {.lines =
                  [this](std::vector<LineReader::Line> lines) {
                    onMain([lines = std::move(lines)](Session& s) { s.linesRead(lines); });
                  },
              .ended = [this] { onMain([](Session& session) { session.inputEnded(); }); }});
  loop_->run();
  flow->delegate.reset();
  return status_;
}

template <typename Work>
void Drive::onMain(Work work) {
  loop_->postExternal([this, work = std::move(work)] { work(*session_); });
}

std::shared_ptr<LineWriter> Drive::greet(int output) {
  auto out = std::make_shared<LineWriter>(
      output, [this] { onMain([](Session& session) { session.interrupted(); }); });
  out->write(Event("hello").set("protocol", JSON(1)).set("version", JSON(VELTRANE_VERSION)));
  return out;
}

std::shared_ptr<WatchedTransport> Drive::makeTransport() const {
  // The loop looks again whether the flow is idle.
  const auto settled = [loop = std::weak_ptr(loop_)] {
    if (const auto running = loop.lock()) running->postExternal([] {});
  };
  return std::make_shared<WatchedTransport>(
      curl::make(
          {.authorityFile = options_.flow.authorityFile,
           .report = [out = out_](const std::string& line) { EventConsole(out).print(line); }}),
      out_, settled);
}

Platform Drive::consoleAlone() const {
  Platform platform;
  platform.console = std::make_shared<EventConsole>(out_);
  return platform;
}

/// No keeper of this machine's: what a test stores, another run of it opens anywhere.
WebAuthnClient::Parts Drive::passkeys() const {
  const auto file = options_.credentials.value_or(folder_.path() / "passkeys.db");
  return {.authenticators =
              [file] {
                return std::vector<std::shared_ptr<Authenticator>>{
                    std::make_shared<authenticator::PlatformAuthenticator>(
                        authenticator::PlatformAuthenticatorOptions{.file = file})};
              },
          .presenter = passkeyUser_,
          .suffixes = publicsuffix::make()};
}

/// The pace of a folder of pictures is that of a camera, for it says what it sees in each.
std::shared_ptr<Camera> Drive::makeCamera() {
  const auto hasEnded = cameraHasEnded_ = std::make_shared<bool>(false);
  return opencv::makeFileCamera({.path = *options_.camera,
                                 .framesPerSecond = kFramesPerSecond,
                                 .ended = [hasEnded, loop = std::weak_ptr(loop_)] {
                                   if (const auto running = loop.lock())
                                     running->postExternal([=] { *hasEnded = true; });
                                 }});
}

Platform Drive::allPorts() {
  auto platform = consoleAlone();
  const auto idiom = options_.tablet ? InterfaceIdiom::pad : InterfaceIdiom::phone;
  platform.mainQueue = loop_;
  platform.notificationCenter = std::make_shared<NotificationCenter>();
  platform.storyboard = makeMainStoryboard();
  platform.storyboard->add("FaceImageCaptureVC", [screen = options_.screen()] {
    auto capture = std::make_shared<FaceImageCaptureVC>();
    capture->viewDidLayoutSubviews({screen.width, screen.height});
    return capture;
  });
  platform.settings = sqlite::open(options_.flow.store.value_or(folder_.path() / "settings.db"));
  platform.transport = transport_;
  platform.pictureCodec = std::make_shared<pictures::Codec>();
  platform.device = std::make_shared<DescribedDevice>(options_.screen().scale, idiom);
  platform.makeCredentialsManager = makeWebAuthnClients(passkeys());
  const bool jailbroken = options_.deviceJailbroken;
  platform.netverify = std::make_shared<DrivenNetverifySDK>(handOvers_, jailbroken);
  platform.jumioAuthentication = std::make_shared<DrivenAuthenticationSDK>(handOvers_, jailbroken);
  platform.onfido = std::make_shared<DrivenOnfidoSDK>(handOvers_);
  if (options_.camera) platform.makeCamera = [this] { return makeCamera(); };
#ifdef VELTRANE_OPENCV
  platform.makeFaceVision = opencv::makeFaceVision;
#endif
  return platform;
}

Activity Drive::activity() const {
  return {.isCalling =
              [this] {
                return transport_->underWay(RequestPurpose::call) > 0 || passkeyUser_->isAsked();
              },
          .hasQueuedWork = [this] { return loop_->hasQueuedWork(); },
          .hasMoreToShow = [this] { return !*cameraHasEnded_; }};
}

}  // namespace

int drive(const DriveOptions& options, int input, int output) {
  const TerminationSignals signals;
  const int status = Drive(options, output).run(input);
  opencv::waitForFileCameras();
  return status;
}

}  // namespace veltrane::tool
