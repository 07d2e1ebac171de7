#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "veltrane/connectors/identity_connector.h"
#include "veltrane/connectors/onfido_sdk.h"
#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

/// Hands the user to Onfido's capture flow: welcome, document, photo of the face.
class OnfidoConnector final : public IdentityConnector,
                              public std::enable_shared_from_this<OnfidoConnector> {
 public:
  using IdentityConnector::IdentityConnector;

  /// `index` is below `viewProps.size()`. A missing "token" or "credId" ends the flow with an
  /// error.
  void startOnFido(const UserViewProps& viewProps, std::size_t index);
  void stop() override;

 private:
  void run(OnfidoSDK& sdk, const OnfidoConfig& configuration);
  void responded(const OnfidoResponse& response);
  void handle(const onfido_response::Success& success, ConnectorHost& screen) const;
  void handle(const onfido_response::Error& error, ConnectorHost& screen) const;
  void handle(const onfido_response::Cancel& cancel, ConnectorHost& screen) const;

  std::string currentCredId_;
  std::shared_ptr<OnfidoFlow> onfidoFlow_;
  std::shared_ptr<HandOverViewController> viewController_;
  std::uint64_t lastRun_ = 0;
};

}  // namespace veltrane
