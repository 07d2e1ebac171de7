#pragma once

#include <memory>

#include "apps/vtflow/drive/hand_over/hand_overs.h"
#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/connectors/onfido_sdk.h"

namespace veltrane::tool {

// Identity SDKs whose user is the script: each tells what it was started with, and waits.

class DrivenNetverifySDK final : public NetverifySDK {
 public:
  DrivenNetverifySDK(std::shared_ptr<HandOvers> handOvers, bool jailbroken)
      : handOvers_(std::move(handOvers)), jailbroken_(jailbroken) {}
  bool isJailbrokenDevice() const override { return jailbroken_; }
  std::shared_ptr<NetverifyViewController> makeNetverifyViewController(
      NetverifyConfiguration configuration) override;

 private:
  std::shared_ptr<HandOvers> handOvers_;
  bool jailbroken_;
};

class DrivenAuthenticationSDK final : public JumioAuthenticationSDK {
 public:
  DrivenAuthenticationSDK(std::shared_ptr<HandOvers> handOvers, bool jailbroken)
      : handOvers_(std::move(handOvers)), jailbroken_(jailbroken) {}
  bool isJailbrokenDevice() const override { return jailbroken_; }
  std::shared_ptr<AuthenticationController> makeAuthenticationController(
      AuthenticationConfiguration configuration) override;

 private:
  std::shared_ptr<HandOvers> handOvers_;
  bool jailbroken_;
};

class DrivenOnfidoSDK final : public OnfidoSDK {
 public:
  explicit DrivenOnfidoSDK(std::shared_ptr<HandOvers> handOvers)
      : handOvers_(std::move(handOvers)) {}
  std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& configuration) override;

 private:
  std::shared_ptr<HandOvers> handOvers_;
};

}  // namespace veltrane::tool
