#include "apps/example/phone_sdks.h"

#include <utility>

#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace example {
namespace {

using veltrane::ModalPresentationStyle;

/// Brings a native call to the main thread, to an object that may have gone meanwhile. Only the
/// main thread may ask for the installed platform, so the queue goes along.
template <typename Object, typename... Values>
auto onMain(const std::shared_ptr<Object>& object, void (Object::*tell)(Values...)) {
  return [weak = std::weak_ptr(object), tell,
          main = veltrane::Platform::current().mainQueue](Values... values) {
    main->async([=] {
      if (const auto alive = weak.lock()) (alive.get()->*tell)(values...);
    });
  };
}

// ---- the document scan

class Scan final : public veltrane::NetverifyViewController {
 public:
  explicit Scan(std::weak_ptr<veltrane::NetverifyViewControllerDelegate> delegate)
      : delegate_(std::move(delegate)) {}
  void hold(std::unique_ptr<NativeScreen> native) { native_ = std::move(native); }

  // The core presents and dismisses; the native screen follows.
  void viewDidLoad() override {
    native_->show(modalPresentationStyle == ModalPresentationStyle::formSheet);
  }
  void didLeaveStack() override {
    if (native_) native_->hide();
  }
  void destroy() override { native_.reset(); }

  void finished(std::string scanReference) {
    if (const auto to = delegate_.lock()) {
      to->netverifyViewControllerDidFinish(*this, {}, scanReference);
    }
  }
  void cancelled(std::optional<veltrane::NetverifyError> error,
                 std::optional<std::string> scanReference) {
    if (const auto to = delegate_.lock()) {
      to->netverifyViewControllerDidCancel(*this, error, scanReference);
    }
  }

 private:
  std::weak_ptr<veltrane::NetverifyViewControllerDelegate> delegate_;
  std::unique_ptr<NativeScreen> native_;
};

// ---- the face check

/// Shows and hides a native screen that something else owns.
class FollowingScreen final : public veltrane::HandOverViewController {
 public:
  explicit FollowingScreen(std::shared_ptr<NativeScreen> native) : native_(std::move(native)) {}
  void viewDidLoad() override {
    native_->show(modalPresentationStyle == ModalPresentationStyle::formSheet);
  }
  void didLeaveStack() override { native_->hide(); }

 private:
  std::shared_ptr<NativeScreen> native_;
};

class Check final : public veltrane::AuthenticationController {
 public:
  explicit Check(std::weak_ptr<veltrane::AuthenticationControllerDelegate> delegate)
      : delegate_(std::move(delegate)) {}
  void hold(std::unique_ptr<NativeScreen> native) { native_ = std::move(native); }
  void destroy() override { native_.reset(); }

  void ready() {
    const auto to = delegate_.lock();
    if (!to || !native_) return;
    to->authenticationControllerDidFinishInitializing(*this,
                                                      std::make_shared<FollowingScreen>(native_));
  }
  void finished(veltrane::AuthenticationResult result, std::string transactionReference) {
    if (const auto to = delegate_.lock()) {
      to->authenticationControllerDidFinish(*this, result, transactionReference);
    }
  }
  void failed(veltrane::AuthenticationError error,
              std::optional<std::string> transactionReference) {
    if (const auto to = delegate_.lock()) {
      to->authenticationControllerDidFinishWithError(*this, error, transactionReference);
    }
  }

 private:
  std::weak_ptr<veltrane::AuthenticationControllerDelegate> delegate_;
  std::shared_ptr<NativeScreen> native_;
};

// ---- document and face in one

class Capture final : public veltrane::OnfidoFlow, public std::enable_shared_from_this<Capture> {
 public:
  Capture(std::shared_ptr<NativeSDKs> sdks, veltrane::OnfidoConfig settings)
      : sdks_(std::move(sdks)), settings_(std::move(settings)) {}

  void with(ResponseHandler responseHandler, bool dismissFlowOnCompletion) override {
    handler_ = std::move(responseHandler);
    dismisses_ = dismissFlowOnCompletion;
  }
  std::shared_ptr<veltrane::HandOverViewController> run() override {
    auto native = sdks_->makeCapture(settings_, onMain(shared_from_this(), &Capture::responded));
    if (!native) return nullptr;
    screen_ = std::make_shared<FollowingScreen>(std::move(native));
    return screen_;
  }
  void responded(veltrane::OnfidoResponse response) {
    // A response that comes before a screen is none of a run's.
    if (!screen_) return;
    if (dismisses_) screen_->dismiss(true);
    if (const auto handler = std::exchange(handler_, {})) handler(std::move(response));
  }

 private:
  std::shared_ptr<NativeSDKs> sdks_;
  veltrane::OnfidoConfig settings_;
  ResponseHandler handler_;
  bool dismisses_ = false;
  std::shared_ptr<FollowingScreen> screen_;
};

}  // namespace

std::shared_ptr<veltrane::NetverifyViewController> PhoneNetverifySDK::makeNetverifyViewController(
    veltrane::NetverifyConfiguration configuration) {
  auto scan = std::make_shared<Scan>(configuration.delegate);
  auto native = native_->makeScan(configuration, {.finished = onMain(scan, &Scan::finished),
                                                  .cancelled = onMain(scan, &Scan::cancelled)});
  if (!native) return nullptr;
  scan->hold(std::move(native));
  return scan;
}

std::shared_ptr<veltrane::AuthenticationController>
PhoneAuthenticationSDK::makeAuthenticationController(
    veltrane::AuthenticationConfiguration configuration) {
  auto check = std::make_shared<Check>(configuration.delegate);
  auto native = native_->makeCheck(configuration, {.ready = onMain(check, &Check::ready),
                                                   .finished = onMain(check, &Check::finished),
                                                   .failed = onMain(check, &Check::failed)});
  if (!native) return nullptr;
  check->hold(std::move(native));
  return check;
}

std::shared_ptr<veltrane::OnfidoFlow> PhoneOnfidoSDK::makeFlow(
    const veltrane::OnfidoConfig& configuration) {
  return std::make_shared<Capture>(native_, configuration);
}

}  // namespace example
