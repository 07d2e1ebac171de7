#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/connectors/onfido_sdk.h"

// Identity vendors that a test holds in its hand: every hand-over is kept and waits until the test
// tells how it ends, more than once if it likes.
namespace veltrane::testing {

struct FakeNetverify final : NetverifyViewController {
  explicit FakeNetverify(NetverifyConfiguration c) : configuration(std::move(c)) {}
  void destroy() override { ++destroyed; }
  void finish(const std::string& scanReference = "scan-1") {
    if (const auto to = configuration.delegate.lock()) {
      to->netverifyViewControllerDidFinish(*this, {}, scanReference);
    }
  }
  void cancel(const std::optional<NetverifyError>& error = std::nullopt,
              const std::optional<std::string>& scanReference = std::nullopt) {
    if (const auto to = configuration.delegate.lock()) {
      to->netverifyViewControllerDidCancel(*this, error, scanReference);
    }
  }
  NetverifyConfiguration configuration;
  int destroyed = 0;
};

struct FakeNetverifySDK final : NetverifySDK {
  bool isJailbrokenDevice() const override { return jailbroken; }
  std::shared_ptr<NetverifyViewController> makeNetverifyViewController(
      NetverifyConfiguration configuration) override {
    ++asked;
    if (refuses) return nullptr;
    made.push_back(std::make_shared<FakeNetverify>(std::move(configuration)));
    return made.back();
  }
  bool jailbroken = false;
  bool refuses = false;
  int asked = 0;
  std::vector<std::shared_ptr<FakeNetverify>> made;
};

struct FakeAuthentication final : AuthenticationController {
  explicit FakeAuthentication(AuthenticationConfiguration c) : configuration(std::move(c)) {}
  void destroy() override { ++destroyed; }
  void ready() {
    if (const auto to = configuration.delegate.lock()) {
      to->authenticationControllerDidFinishInitializing(*this, scan);
    }
  }
  void finish(const std::string& reference,
              AuthenticationResult result = AuthenticationResult::success) {
    if (const auto to = configuration.delegate.lock()) {
      to->authenticationControllerDidFinish(*this, result, reference);
    }
  }
  void fail(const AuthenticationError& error,
            const std::optional<std::string>& reference = std::nullopt) {
    if (const auto to = configuration.delegate.lock()) {
      to->authenticationControllerDidFinishWithError(*this, error, reference);
    }
  }
  AuthenticationConfiguration configuration;
  std::shared_ptr<HandOverViewController> scan = std::make_shared<HandOverViewController>();
  int destroyed = 0;
};

struct FakeAuthenticationSDK final : JumioAuthenticationSDK {
  bool isJailbrokenDevice() const override { return jailbroken; }
  std::shared_ptr<AuthenticationController> makeAuthenticationController(
      AuthenticationConfiguration configuration) override {
    ++asked;
    if (refuses) return nullptr;
    made.push_back(std::make_shared<FakeAuthentication>(std::move(configuration)));
    return made.back();
  }
  bool jailbroken = false;
  bool refuses = false;
  int asked = 0;
  std::vector<std::shared_ptr<FakeAuthentication>> made;
};

/// What of a flow outlives it, as an SDK's own callback does.
struct FakeOnfidoRun {
  OnfidoConfig configuration;
  OnfidoFlow::ResponseHandler handler;
  bool dismisses = false;
  bool dropped = false;
  std::shared_ptr<HandOverViewController> screen = std::make_shared<HandOverViewController>();

  void respond(const OnfidoResponse& response) {
    if (dismisses) screen->dismiss(true);
    handler(response);
  }
};

struct FakeOnfidoFlow final : OnfidoFlow {
  explicit FakeOnfidoFlow(std::shared_ptr<FakeOnfidoRun> r) : run_(std::move(r)) {}
  ~FakeOnfidoFlow() override { run_->dropped = true; }
  void with(ResponseHandler handler, bool dismissFlowOnCompletion) override {
    run_->handler = std::move(handler);
    run_->dismisses = dismissFlowOnCompletion;
  }
  std::shared_ptr<HandOverViewController> run() override { return run_->screen; }
  std::shared_ptr<FakeOnfidoRun> run_;
};

struct FakeOnfidoSDK final : OnfidoSDK {
  std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& configuration) override {
    ++asked;
    if (refuses) return nullptr;
    runs.push_back(std::make_shared<FakeOnfidoRun>(FakeOnfidoRun{configuration, {}}));
    return std::make_shared<FakeOnfidoFlow>(runs.back());
  }
  bool refuses = false;
  int asked = 0;
  std::vector<std::shared_ptr<FakeOnfidoRun>> runs;
};

}  // namespace veltrane::testing
