#pragma once

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/install.h"
#include "platform/webengine/web_sheet.h"
#include "tests/support/fakes.h"
#include "tests/support/temporary_folder.h"
#include "tests/webengine/vendor.h"
#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/connectors/onfido_sdk.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::webengine::test {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Does what a screen's connector does with the vendors' ports, and notes what it hears.
struct Receiver final : NetverifyViewControllerDelegate, AuthenticationControllerDelegate {
  void netverifyViewControllerDidFinish(NetverifyViewController& controller,
                                        const NetverifyDocumentData&,
                                        const std::string& scanReference) override {
    heard.push_back("finished " + scanReference);
    controller.dismiss(true);
    controller.destroy();
  }
  void netverifyViewControllerDidCancel(NetverifyViewController& controller,
                                        const std::optional<NetverifyError>& error,
                                        const std::optional<std::string>&) override {
    heard.push_back("cancelled " + (error ? error->description() : ""));
    controller.dismiss(true);
    controller.destroy();
  }
  void authenticationControllerDidFinishInitializing(
      AuthenticationController&,
      std::shared_ptr<AuthenticationScanViewController> scanViewController) override {
    heard.emplace_back("ready");
    screen = scanViewController;
    host->present(std::move(scanViewController), true);
  }
  void authenticationControllerDidFinish(AuthenticationController& controller, AuthenticationResult,
                                         const std::string& transactionReference) override {
    heard.push_back("finished " + transactionReference);
    screen->dismiss(true);
    controller.destroy();
  }
  void authenticationControllerDidFinishWithError(AuthenticationController& controller,
                                                  const AuthenticationError& error,
                                                  const std::optional<std::string>&) override {
    heard.push_back("failed " + error.description());
    if (screen) screen->dismiss(true);
    controller.destroy();
  }

  std::shared_ptr<ViewController> host;
  std::shared_ptr<ViewController> screen;
  std::vector<std::string> heard;
};

/// Hand-overs in a real window with a real browser; the vendor is the test's.
class BrowserTest : public ::testing::Test {
 protected:
  BrowserTest();
  ~BrowserTest() override;

  /// Installs the vendors' clients. `change` may give other addresses.
  void install(const std::function<void(VendorAddresses&)>& change = {});
  std::shared_ptr<NetverifyViewController> scan();
  std::shared_ptr<AuthenticationController> check();
  /// The response comes into `responses`.
  std::shared_ptr<OnfidoFlow> onfido(const std::string& token = "sdk-token");

  void waitFor(const std::function<bool()>& condition, const char* what);
  void waitForState(WebSheet::State state);
  void waitForHeard(std::size_t count);
  /// No sheet is on display and no browser is left.
  void waitUntilGone();
  /// What the alert on display asks; empty when there is none.
  std::string question() const;
  /// The vendor has been asked for this path.
  bool wasAsked(const char* path) const;
  /// Presses a control by its name, once it is there.
  void press(const char* name);
  /// Clicks on the vendor's page until that has been seen.
  void clickPage(const std::function<bool()>& seen);
  QQuickItem* item(const char* name) const;
  std::shared_ptr<WebSheet> sheet() const;

  veltrane::testing::TemporaryFolder folder_;
  Vendor vendor_;
  std::shared_ptr<veltrane::testing::RecordingConsole> console_ =
      std::make_shared<veltrane::testing::RecordingConsole>();
  std::unique_ptr<PlatformScope> platform_;
  QQuickWindow window_;
  std::unique_ptr<qtquick::FlowPresenter> presenter_;
  std::shared_ptr<Receiver> receiver_ = std::make_shared<Receiver>();
  std::vector<OnfidoResponse> responses_;
};

}  // namespace veltrane::webengine::test
