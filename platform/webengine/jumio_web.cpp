#include <QUrl>
#include <utility>

#include "platform/webengine/allowed_origins.h"
#include "platform/webengine/jumio_session.h"
#include "platform/webengine/sheet_screens.h"
#include "platform/webengine/web_clients.h"
#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::webengine {
namespace {

// How long the vendor's texts may be, by its guide.
constexpr std::size_t kLongestReference = 100;
constexpr std::size_t kLongestCallback = 255;
constexpr std::size_t kLongestEnrollment = 36;

bool isUsable(const VendorAddresses& addresses) {
  const auto isUsable = [](const std::string& address) {
    return isUsableAddress(QUrl(QString::fromStdString(address), QUrl::StrictMode));
  };
  return isUsable(addresses.jumio) && isUsable(addresses.hostPage);
}

JumioRequest scanRequest(const NetverifyConfiguration& configuration) {
  const auto& reference = configuration.customerInternalReference;
  JumioRequest request{.path = "/api/v4/initiate",
                       .apiToken = configuration.apiToken,
                       .apiSecret = configuration.apiSecret,
                       // The vendor wants a reference of the user too. The flow has one for both.
                       .fields = {{"customerInternalReference", reference, kLongestReference},
                                  {"userReference", reference, kLongestReference}},
                       .allow = "camera"};
  if (!configuration.callbackUrl.empty()) {
    request.fields.push_back({"callbackUrl", configuration.callbackUrl, kLongestCallback});
  }
  return request;
}

JumioRequest checkRequest(const AuthenticationConfiguration& configuration) {
  const auto& enrollment = configuration.enrollmentTransactionReference;
  return {.path = "/api/authentication/v1/web/initiate",
          .apiToken = configuration.apiToken,
          .apiSecret = configuration.apiSecret,
          // A face check has no customer's reference of its own: the enrolment stands for it.
          .fields = {{"enrollmentTransactionReference", enrollment, kLongestEnrollment},
                     {"customerInternalReference", enrollment, kLongestReference},
                     {"callbackUrl", configuration.callbackUrl, kLongestCallback}},
          .allow = "camera;fullscreen"};
}

class ScanController final : public SheetScreenOf<NetverifyViewController> {
 public:
  static std::shared_ptr<ScanController> make(const VendorAddresses& addresses,
                                              const NetverifyConfiguration& configuration) {
    auto made = std::make_shared<ScanController>();
    made->title = "Scan your document";
    made->delegate_ = configuration.delegate;
    made->session_ =
        JumioSession::make(addresses, scanRequest(configuration), made->listener(made));
    made->take(made->session_->sheet());
    made->sheet()->begin();
    return made;
  }

  void destroy() override { session_->end(); }

 private:
  static JumioSession::Listener listener(const std::weak_ptr<ScanController>& weak) {
    return {.finished =
                [weak](const std::string& reference) {
                  const auto self = weak.lock();
                  const auto delegate = self ? self->delegate_.lock() : nullptr;
                  if (delegate) delegate->netverifyViewControllerDidFinish(*self, {}, reference);
                },
            .failed =
                [weak](const JumioError& error, const std::optional<std::string>& reference) {
                  const auto self = weak.lock();
                  const auto delegate = self ? self->delegate_.lock() : nullptr;
                  if (delegate) delegate->netverifyViewControllerDidCancel(*self, error, reference);
                }};
  }

  std::weak_ptr<NetverifyViewControllerDelegate> delegate_;
  std::shared_ptr<JumioSession> session_;
};

class CheckController final : public AuthenticationController,
                              public std::enable_shared_from_this<CheckController> {
 public:
  static std::shared_ptr<CheckController> make(const VendorAddresses& addresses,
                                               const AuthenticationConfiguration& configuration) {
    auto made = std::make_shared<CheckController>();
    made->delegate_ = configuration.delegate;
    made->session_ = JumioSession::make(addresses, checkRequest(configuration), listener(made));
    made->screen_ = SheetViewController::make(made->session_->sheet(), "Check your face");
    made->session_->sheet()->begin();
    MainQueue::current().async([weak = std::weak_ptr(made)] {
      if (const auto self = weak.lock()) self->ready();
    });
    return made;
  }

  void destroy() override {
    isDestroyed_ = true;
    session_->end();
  }

 private:
  static JumioSession::Listener listener(const std::weak_ptr<CheckController>& weak) {
    return {.finished =
                [weak](const std::string& reference) {
                  const auto self = weak.lock();
                  const auto delegate = self ? self->delegate_.lock() : nullptr;
                  if (!delegate) return;
                  delegate->authenticationControllerDidFinish(*self, AuthenticationResult::success,
                                                              reference);
                },
            .failed =
                [weak](const JumioError& error, const std::optional<std::string>& reference) {
                  const auto self = weak.lock();
                  const auto delegate = self ? self->delegate_.lock() : nullptr;
                  if (!delegate) return;
                  delegate->authenticationControllerDidFinishWithError(*self, error, reference);
                }};
  }

  // The sheet itself shows what is still on its way, so the user need not wait without one.
  void ready() {
    const auto delegate = delegate_.lock();
    if (isDestroyed_ || !delegate) return;
    delegate->authenticationControllerDidFinishInitializing(*this, screen_);
  }

  std::weak_ptr<AuthenticationControllerDelegate> delegate_;
  std::shared_ptr<JumioSession> session_;
  std::shared_ptr<SheetViewController> screen_;
  bool isDestroyed_ = false;
};

class WebNetverify final : public NetverifySDK {
 public:
  explicit WebNetverify(VendorAddresses addresses) : addresses_(std::move(addresses)) {}
  /// Nothing tells it of a desktop.
  bool isJailbrokenDevice() const override { return false; }
  std::shared_ptr<NetverifyViewController> makeNetverifyViewController(
      NetverifyConfiguration configuration) override {
    return ScanController::make(addresses_, configuration);
  }

 private:
  const VendorAddresses addresses_;
};

class WebAuthentication final : public JumioAuthenticationSDK {
 public:
  explicit WebAuthentication(VendorAddresses addresses) : addresses_(std::move(addresses)) {}
  bool isJailbrokenDevice() const override { return false; }
  std::shared_ptr<AuthenticationController> makeAuthenticationController(
      AuthenticationConfiguration configuration) override {
    return CheckController::make(addresses_, configuration);
  }

 private:
  const VendorAddresses addresses_;
};

}  // namespace

std::shared_ptr<NetverifySDK> makeNetverify(const VendorAddresses& addresses) {
  return isUsable(addresses) ? std::make_shared<WebNetverify>(addresses) : nullptr;
}

std::shared_ptr<JumioAuthenticationSDK> makeJumioAuthentication(const VendorAddresses& addresses) {
  return isUsable(addresses) ? std::make_shared<WebAuthentication>(addresses) : nullptr;
}

}  // namespace veltrane::webengine
