#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/connectors/identity_connector.h"
#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

/// Hands the user to Jumio: a document scan when they register, a face check when they log in.
/// Kept by the screen until the next hand-over, and with it the references of the last start.
class JumioConnector final : public IdentityConnector,
                             public NetverifyViewControllerDelegate,
                             public AuthenticationControllerDelegate,
                             public std::enable_shared_from_this<JumioConnector> {
 public:
  using IdentityConnector::IdentityConnector;

  /// `index` is below `viewProps.size()`. What of the user view's texts is missing ends the flow
  /// with an error; an "event" of another name does nothing.
  void startJumio(const UserViewProps& viewProps, std::size_t index);
  void stop() override;

  void netverifyViewControllerDidFinish(NetverifyViewController& controller,
                                        const NetverifyDocumentData& documentData,
                                        const std::string& scanReference) override;
  void netverifyViewControllerDidCancel(NetverifyViewController& controller,
                                        const std::optional<NetverifyError>& error,
                                        const std::optional<std::string>& scanReference) override;
  void authenticationControllerDidFinishInitializing(
      AuthenticationController& controller,
      std::shared_ptr<AuthenticationScanViewController> scanViewController) override;
  void authenticationControllerDidFinish(AuthenticationController& controller,
                                         AuthenticationResult result,
                                         const std::string& transactionReference) override;
  void authenticationControllerDidFinishWithError(
      AuthenticationController& controller, const AuthenticationError& error,
      const std::optional<std::string>& transactionReference) override;

 private:
  struct Credentials {
    std::string apiKey;
    std::string clientSecret;
    std::string webhookUrl;
  };
  void startRegistration(const Dictionary& userView, const Credentials& credentials);
  void startLogin(const Dictionary& userView, const Credentials& credentials);
  void startJumioNetVerify(const Credentials& credentials,
                           const std::string& customerInternalReference);
  void startJumioAuth(const Credentials& credentials, const std::string& transactionReference);
  void endNetverify();
  void endAuthentication();

  std::shared_ptr<NetverifyViewController> netverifyViewController_;
  std::shared_ptr<AuthenticationController> authenticationController_;
  std::shared_ptr<AuthenticationScanViewController> scanViewConroller_;
  std::string currentCredId_;
  std::string transactionReference_;
  std::string customerInternalReference_;
};

}  // namespace veltrane
