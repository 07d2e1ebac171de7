#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/connectors/jumio_authentication_sdk.h"
#include "veltrane/connectors/netverify_sdk.h"
#include "veltrane/connectors/onfido_sdk.h"

// The identity ports of a phone's host, to be copied (docs/connectors.md). What is left to write is
// the native half: a few lines of Objective-C++ or JNI around each vendor's mobile SDK.
namespace example {

/// A native controller on the phone's screen. Main thread.
class NativeScreen {
 public:
  virtual ~NativeScreen() = default;
  virtual void show(bool asFormSheet) = 0;
  virtual void hide() = 0;
};

/// The vendors' SDKs as the app sees them. The functions that are handed over may be called on any
/// thread; what they hold on to goes with the native object.
class NativeSDKs {
 public:
  struct ScanEvents {
    std::function<void(std::string scanReference)> finished;
    std::function<void(std::optional<veltrane::NetverifyError>, std::optional<std::string>)>
        cancelled;
  };
  struct CheckEvents {
    std::function<void()> ready;
    std::function<void(veltrane::AuthenticationResult, std::string transactionReference)> finished;
    std::function<void(veltrane::AuthenticationError, std::optional<std::string>)> failed;
  };

  virtual ~NativeSDKs() = default;
  virtual bool isJailbroken() const = 0;
  /// Null when the SDK cannot be used. Destroying the object destroys the SDK's.
  virtual std::unique_ptr<NativeScreen> makeScan(const veltrane::NetverifyConfiguration& settings,
                                                 ScanEvents events) = 0;
  virtual std::unique_ptr<NativeScreen> makeCheck(
      const veltrane::AuthenticationConfiguration& settings, CheckEvents events) = 0;
  virtual std::unique_ptr<NativeScreen> makeCapture(
      const veltrane::OnfidoConfig& settings,
      std::function<void(veltrane::OnfidoResponse)> responded) = 0;
};

class PhoneNetverifySDK final : public veltrane::NetverifySDK {
 public:
  explicit PhoneNetverifySDK(std::shared_ptr<NativeSDKs> native) : native_(std::move(native)) {}
  bool isJailbrokenDevice() const override { return native_->isJailbroken(); }
  std::shared_ptr<veltrane::NetverifyViewController> makeNetverifyViewController(
      veltrane::NetverifyConfiguration configuration) override;

 private:
  std::shared_ptr<NativeSDKs> native_;
};

class PhoneAuthenticationSDK final : public veltrane::JumioAuthenticationSDK {
 public:
  explicit PhoneAuthenticationSDK(std::shared_ptr<NativeSDKs> native)
      : native_(std::move(native)) {}
  bool isJailbrokenDevice() const override { return native_->isJailbroken(); }
  std::shared_ptr<veltrane::AuthenticationController> makeAuthenticationController(
      veltrane::AuthenticationConfiguration configuration) override;

 private:
  std::shared_ptr<NativeSDKs> native_;
};

class PhoneOnfidoSDK final : public veltrane::OnfidoSDK {
 public:
  explicit PhoneOnfidoSDK(std::shared_ptr<NativeSDKs> native) : native_(std::move(native)) {}
  std::shared_ptr<veltrane::OnfidoFlow> makeFlow(
      const veltrane::OnfidoConfig& configuration) override;

 private:
  std::shared_ptr<NativeSDKs> native_;
};

}  // namespace example
