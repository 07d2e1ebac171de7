#include "apps/vtflow/drive/hand_over/driven_sdks.h"

#include <string>
#include <utility>
#include <vector>

namespace veltrane::tool {
namespace {

constexpr const char* kEnded = "no identity SDK is waiting for an answer: the last one has ended";

Refusal wrongKind(const std::string& sdk) {
  return "the identity SDK that waits is \"" + sdk + "\", which has no such outcome";
}

JSON dataCenterValue(JumioDataCenter dataCenter) {
  return {static_cast<int>(dataCenter)};
}

// ---- the document scan

class DrivenNetverify final : public NetverifyViewController, public HandOver {
 public:
  DrivenNetverify(std::shared_ptr<HandOvers> handOvers, NetverifyConfiguration configuration)
      : handOvers_(std::move(handOvers)), configuration_(std::move(configuration)) {}

  /// It is on display now: only the screen that presents it knows how.
  void viewDidLoad() override {
    handOvers_->began(std::static_pointer_cast<DrivenNetverify>(shared_from_this()), "netverify",
                      {{"apiToken", configuration_.apiToken},
                       {"apiSecret", configuration_.apiSecret},
                       {"dataCenter", dataCenterValue(configuration_.dataCenter)},
                       {"callbackUrl", configuration_.callbackUrl},
                       {"customerInternalReference", configuration_.customerInternalReference}},
                      modalPresentationStyle);
  }
  void destroy() override { ended_ = true; }

  Refusal answer(const SDKOutcome& outcome) override {
    const auto delegate = configuration_.delegate.lock();
    if (ended_ || !delegate) return kEnded;
    if (const auto* finish = std::get_if<sdk_outcome::NetverifyFinish>(&outcome)) {
      delegate->netverifyViewControllerDidFinish(*this, {}, finish->scanReference);
    } else if (const auto* cancel = std::get_if<sdk_outcome::NetverifyCancel>(&outcome)) {
      delegate->netverifyViewControllerDidCancel(*this, cancel->error, cancel->scanReference);
    } else {
      return wrongKind("netverify");
    }
    return std::nullopt;
  }

 private:
  std::shared_ptr<HandOvers> handOvers_;
  NetverifyConfiguration configuration_;
  bool ended_ = false;
};

// ---- the face check

class DrivenAuthentication final : public AuthenticationController, public HandOver {
 public:
  explicit DrivenAuthentication(std::weak_ptr<AuthenticationControllerDelegate> delegate)
      : delegate_(std::move(delegate)) {}

  void destroy() override { ended_ = true; }

  Refusal answer(const SDKOutcome& outcome) override {
    const auto delegate = delegate_.lock();
    if (ended_ || !delegate) return kEnded;
    if (std::holds_alternative<sdk_outcome::AuthenticationReady>(outcome)) {
      if (std::exchange(ready_, true)) return "the face check is ready already";
      delegate->authenticationControllerDidFinishInitializing(
          *this, std::make_shared<AuthenticationScanViewController>());
    } else if (const auto* finish = std::get_if<sdk_outcome::AuthenticationFinish>(&outcome)) {
      delegate->authenticationControllerDidFinish(*this, AuthenticationResult::success,
                                                  finish->transactionReference);
    } else if (const auto* failure = std::get_if<sdk_outcome::AuthenticationFailure>(&outcome)) {
      delegate->authenticationControllerDidFinishWithError(*this, failure->error,
                                                           failure->transactionReference);
    } else {
      return wrongKind("jumioAuthentication");
    }
    return std::nullopt;
  }

 private:
  std::weak_ptr<AuthenticationControllerDelegate> delegate_;
  bool ready_ = false;
  bool ended_ = false;
};

// ---- document and face in one

Dictionary configurationValue(const OnfidoConfig& configuration) {
  std::vector<JSON> steps;
  for (const auto step : configuration.steps()) steps.emplace_back(name(step));
  return {{"sdkToken", configuration.sdkToken()}, {"steps", JSON::array(steps)}};
}

class DrivenOnfido final : public OnfidoFlow,
                           public HandOver,
                           public std::enable_shared_from_this<DrivenOnfido> {
 public:
  DrivenOnfido(std::shared_ptr<HandOvers> handOvers, OnfidoConfig configuration)
      : handOvers_(std::move(handOvers)), configuration_(std::move(configuration)) {}

  void with(ResponseHandler responseHandler, bool dismissFlowOnCompletion) override {
    handler_ = std::move(responseHandler);
    dismisses_ = dismissFlowOnCompletion;
  }
  std::shared_ptr<HandOverViewController> run() override {
    screen_ = std::make_shared<HandOverViewController>();
    handOvers_->began(weak_from_this(), "onfido", configurationValue(configuration_),
                      screen_->modalPresentationStyle);
    return screen_;
  }
  Refusal answer(const SDKOutcome& outcome) override {
    const auto* const response = std::get_if<OnfidoResponse>(&outcome);
    if (!handler_) return kEnded;
    if (!response) return wrongKind("onfido");
    if (dismisses_) screen_->dismiss(true);
    std::exchange(handler_, {})(*response);
    return std::nullopt;
  }

 private:
  std::shared_ptr<HandOvers> handOvers_;
  OnfidoConfig configuration_;
  ResponseHandler handler_;
  bool dismisses_ = false;
  std::shared_ptr<HandOverViewController> screen_;
};

}  // namespace

std::shared_ptr<NetverifyViewController> DrivenNetverifySDK::makeNetverifyViewController(
    NetverifyConfiguration configuration) {
  return std::make_shared<DrivenNetverify>(handOvers_, std::move(configuration));
}

std::shared_ptr<AuthenticationController> DrivenAuthenticationSDK::makeAuthenticationController(
    AuthenticationConfiguration configuration) {
  auto controller = std::make_shared<DrivenAuthentication>(configuration.delegate);
  // Its screen comes later, in the style that a new one has.
  handOvers_->began(
      controller, "jumioAuthentication",
      {{"apiToken", configuration.apiToken},
       {"apiSecret", configuration.apiSecret},
       {"dataCenter", dataCenterValue(configuration.dataCenter)},
       {"callbackUrl", configuration.callbackUrl},
       {"enrollmentTransactionReference", configuration.enrollmentTransactionReference}},
      AuthenticationScanViewController().modalPresentationStyle);
  return controller;
}

std::shared_ptr<OnfidoFlow> DrivenOnfidoSDK::makeFlow(const OnfidoConfig& configuration) {
  return std::make_shared<DrivenOnfido>(handOvers_, configuration);
}

}  // namespace veltrane::tool
