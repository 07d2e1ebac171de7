// A host outside the tree, on the installed package alone: runs a flow that cannot start, and hears
// why.

#include <filesystem>
#include <iostream>

#include "platform/authenticator/platform_authenticator.h"
#include "platform/curl/curl_transport.h"
#include "platform/fido2/security_key_authenticator.h"
#include "platform/loop/run_loop.h"
#include "platform/opencv/face_vision.h"
#include "platform/opencv/file_camera.h"
#include "platform/pictures/codec.h"
#include "platform/publicsuffix/public_suffix_list.h"
#include "platform/sqlite/sqlite_store.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/notification_center.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/toolkit/view_controller.h"
#include "veltrane/ui/main_storyboard.h"

namespace {

class Outcome final : public veltrane::VeltraneFlowDelegate {
 public:
  explicit Outcome(veltrane::loop::RunLoop& loop) : loop_(loop) {}
  void flowDidComplete(const std::optional<veltrane::JSON>& /*response*/,
                       const std::optional<veltrane::VeltraneFlowError>& error) override {
    std::cout << (error ? error->errorDescription() : "a response") << std::endl;
    failed = error.has_value();
    loop_.quit();
  }
  bool failed = false;

 private:
  veltrane::loop::RunLoop& loop_;
};

/// Whether the libraries of this project that load late are found from here.
bool seesAndReads(const std::filesystem::path& noPicture) {
  using namespace veltrane;
  const auto frame = PixelBuffer::allocate(PixelFormat::rgb, {64, 48}).buffer;
  const auto found = opencv::makeFaceVision()->detectFaceRectangles(*frame);
  if (found.error) std::cout << *found.error << std::endl;
  const auto problem = opencv::fileCameraProblem(noPicture);
  if (problem) std::cout << *problem << std::endl;
  return !found.error && problem && problem->find("as a picture or a video") != problem->npos;
}

}  // namespace

int main(int /*argc*/, char** argv) {
  const auto loop = std::make_shared<veltrane::loop::RunLoop>();
  veltrane::Platform platform;
  platform.mainQueue = loop;
  platform.notificationCenter = std::make_shared<veltrane::NotificationCenter>();
  platform.storyboard = veltrane::makeMainStoryboard();
  platform.settings = veltrane::sqlite::open(std::filesystem::path(argv[0]) += ".db");
  platform.transport = veltrane::curl::make();
  const veltrane::PlatformScope scope(platform);

  const auto outcome = std::make_shared<Outcome>(*loop);
  const auto flow = veltrane::VTFlow::make({.vtApiKey = "demo-key",
                                            .rpId = "localhost",
                                            .origin = "https://localhost",
                                            .companyId = "company",
                                            .responseTimeOut = 5,
                                            .theme = std::nullopt,
                                            .isSandbox = true});
  flow->delegate = outcome;
  flow->runFlow(veltrane::VTFlow::ByFlowId{
      .flowId = std::nullopt,
      .fromViewController = std::make_shared<veltrane::HostViewController>()});
  if (!outcome->failed) loop->run();
  if (!seesAndReads(argv[0])) return 1;
  const auto key = platform.settings->value("apiKey");
  const veltrane::pictures::Codec codec;
  if (codec.decode("no picture")) return 1;
  const veltrane::authenticator::PlatformAuthenticator device(
      {.file = std::filesystem::path(argv[0]) += ".passkeys.db"});
  const veltrane::fido2::SecurityKeyAuthenticator securityKey;
  const veltrane::MakeCredential wanted{.algorithms = {veltrane::cose::kES256}};
  if (!device.canMake(wanted) || !securityKey.canMake(wanted)) return 1;
  if (!veltrane::publicsuffix::make()->contains("co.uk")) return 1;
  return outcome->failed && key == veltrane::SettingValue("demo-key") ? 0 : 1;
}
