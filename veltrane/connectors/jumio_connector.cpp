#include "veltrane/connectors/jumio_connector.h"

#include <array>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/device.h"

namespace veltrane {
namespace {

constexpr const char* kNoCredentials = "Missing Jumio credentials";
constexpr const char* kNoRegistration =
    "credId or customerInternalReference or transactionReference missing in Jumio, please contact "
    "Veltrane support";
constexpr const char* kNoLogin =
    "transactionReference missing in Jumio, please contact Veltrane support";

/// The user view's texts under these names; nothing when one is missing. Empty ones are there.
template <std::size_t Count>
std::optional<std::array<std::string, Count>> texts(const Dictionary& userView,
                                                    const char* const (&names)[Count]) {
  std::array<std::string, Count> found;
  for (std::size_t i = 0; i < Count; ++i) {
    const JSON value = userView[names[i]];
    if (!value.text()) return std::nullopt;
    found[i] = value.textValue();
  }
  return found;
}

bool isPad() {
  const auto& device = Platform::current().device;
  return device && device->userInterfaceIdiom() == InterfaceIdiom::pad;
}

}  // namespace

void JumioConnector::startJumio(const UserViewProps& viewProps, std::size_t index) {
  const Dictionary& userView = beginStep(viewProps, index);
  const auto found = texts(userView, {"event", "apiKey", "clientSecret", "webhookUrl"});
  if (!found) return endFlow(kNoCredentials);
  const auto& [event, apiKey, clientSecret, webhookUrl] = *found;
  const Credentials credentials{apiKey, clientSecret, webhookUrl};
  if (event == "registerInitiate") {
    startRegistration(userView, credentials);
  } else if (event == "loginInitiate") {
    startLogin(userView, credentials);
  }
}

void JumioConnector::startRegistration(const Dictionary& userView, const Credentials& credentials) {
  auto found = texts(userView, {"credId", "transactionReference", "customerInternalReference"});
  if (!found) return endFlow(kNoRegistration);
  auto& [credId, transaction, customer] = *found;
  currentCredId_ = std::move(credId);
  transactionReference_ = std::move(transaction);
  customerInternalReference_ = std::move(customer);
  startJumioNetVerify(credentials, customerInternalReference_);
}

void JumioConnector::startLogin(const Dictionary& userView, const Credentials& credentials) {
  auto found = texts(userView, {"transactionReference"});
  if (!found) return endFlow(kNoLogin);
  transactionReference_ = std::move((*found)[0]);
  startJumioAuth(credentials, transactionReference_);
}

void JumioConnector::startJumioNetVerify(const Credentials& credentials,
                                         const std::string& customerInternalReference) {
  const auto sdk = Platform::current().netverify;
  if (!sdk) return tellOfNoSDK();
  if (sdk->isJailbrokenDevice()) return;
  stop();
  netverifyViewController_ =
      sdk->makeNetverifyViewController({.apiToken = credentials.apiKey,
                                        .apiSecret = credentials.clientSecret,
                                        .dataCenter = JumioDataCenter::unitedStates,
                                        .callbackUrl = credentials.webhookUrl,
                                        .customerInternalReference = customerInternalReference,
                                        .delegate = weak_from_this()});
  if (!netverifyViewController_) return console::print("NetverifyViewController is nil");
  if (isPad()) {
    netverifyViewController_->modalPresentationStyle = ModalPresentationStyle::formSheet;
  }
  if (const auto screen = host()) screen->presentOver(netverifyViewController_);
}

void JumioConnector::startJumioAuth(const Credentials& credentials,
                                    const std::string& transactionReference) {
  const auto sdk = Platform::current().jumioAuthentication;
  if (!sdk) return tellOfNoSDK();
  if (sdk->isJailbrokenDevice()) return;
  stop();
  authenticationController_ =
      sdk->makeAuthenticationController({.apiToken = credentials.apiKey,
                                         .apiSecret = credentials.clientSecret,
                                         .dataCenter = JumioDataCenter::unitedStates,
                                         .callbackUrl = credentials.webhookUrl,
                                         .enrollmentTransactionReference = transactionReference,
                                         .delegate = weak_from_this()});
}

void JumioConnector::stop() {
  endNetverify();
  endAuthentication();
}

void JumioConnector::endNetverify() {
  const auto ending = std::exchange(netverifyViewController_, nullptr);
  if (!ending) return;
  ending->dismiss(true);
  ending->destroy();
  releaseLater(ending);
}

void JumioConnector::endAuthentication() {
  if (const auto scan = std::exchange(scanViewConroller_, nullptr)) {
    scan->dismiss(true);
    releaseLater(scan);
  }
  if (const auto ending = std::exchange(authenticationController_, nullptr)) {
    ending->destroy();
    releaseLater(ending);
  }
}

void JumioConnector::netverifyViewControllerDidFinish(NetverifyViewController& controller,
                                                      const NetverifyDocumentData& /*data*/,
                                                      const std::string& scanReference) {
  if (&controller != netverifyViewController_.get()) return;
  console::print("DELEGATE NetVerify success scan reference: " + scanReference);
  endNetverify();
  if (const auto screen = host()) {
    screen->sendNextEvent({{"credId", currentCredId_},
                           {"customerInternalReference", customerInternalReference_},
                           {"transactionReference", transactionReference_}});
  }
}

void JumioConnector::netverifyViewControllerDidCancel(
    NetverifyViewController& controller, const std::optional<NetverifyError>& error,
    const std::optional<std::string>& scanReference) {
  if (&controller != netverifyViewController_.get()) return;
  endNetverify();
  if (const auto screen = host()) screen->showAlert("Unable to scan for document");
  console::print("DELEGATE NetVerify error scan reference: " + scanReference.value_or("nil") +
                 " or error: " + (error ? error->description() : "nil"));
}

void JumioConnector::authenticationControllerDidFinishInitializing(
    AuthenticationController& controller,
    std::shared_ptr<AuthenticationScanViewController> scanViewController) {
  // One face check has one screen.
  if (&controller != authenticationController_.get() || scanViewConroller_) return;
  scanViewConroller_ = std::move(scanViewController);
  const auto screen = host();
  if (screen && scanViewConroller_) screen->presentOver(scanViewConroller_);
}

void JumioConnector::authenticationControllerDidFinish(AuthenticationController& controller,
                                                       AuthenticationResult /*result*/,
                                                       const std::string& transactionReference) {
  if (&controller != authenticationController_.get()) return;
  console::print("DELEGATE authenticationController success; transactionReference: " +
                 transactionReference);
  endAuthentication();
  if (const auto screen = host()) {
    screen->sendNextEvent({{"transactionReference", transactionReference}});
  }
}

void JumioConnector::authenticationControllerDidFinishWithError(
    AuthenticationController& controller, const AuthenticationError& error,
    const std::optional<std::string>& transactionReference) {
  if (&controller != authenticationController_.get()) return;
  console::print("DELEGATE authenticationController didFinishWithError transactionReference: " +
                 transactionReference.value_or("nil") + " ERROR: " + error.description());
  endAuthentication();
}

}  // namespace veltrane
