#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/connectors/hand_over_view_controller.h"
#include "veltrane/connectors/jumio.h"

namespace veltrane {

class AuthenticationController;

/// The face check's screen. The core presents it when it is told that it is ready, and dismisses
/// it; the SDK does neither.
using AuthenticationScanViewController = HandOverViewController;

/// What the vendor thinks of the face. The server hears it from the vendor; it decides nothing
/// here.
enum class AuthenticationResult : std::uint8_t { success, failed };

using AuthenticationError = JumioError;

/// Hears of a face check: that its screen is ready, at most once, then how it ended, once; or its
/// end alone. Main thread, never within the call that made the controller. At the end the receiver
/// dismisses the screen and destroys the controller within the call, and lets go of both on a later
/// turn of the main queue. What a destroyed controller tells has no effect.
class AuthenticationControllerDelegate {
 public:
  virtual ~AuthenticationControllerDelegate() = default;
  virtual void authenticationControllerDidFinishInitializing(
      AuthenticationController& controller,
      std::shared_ptr<AuthenticationScanViewController> scanViewController) = 0;
  virtual void authenticationControllerDidFinish(AuthenticationController& controller,
                                                 AuthenticationResult result,
                                                 const std::string& transactionReference) = 0;
  /// The user closed the face check, or it failed.
  virtual void authenticationControllerDidFinishWithError(
      AuthenticationController& controller, const AuthenticationError& error,
      const std::optional<std::string>& transactionReference) = 0;
};

/// Every text as the server gave it, empty ones included. `apiToken` and `apiSecret` are secrets:
/// they reach no log and no disk.
struct AuthenticationConfiguration {
  std::string apiToken;
  std::string apiSecret;
  JumioDataCenter dataCenter = JumioDataCenter::unitedStates;
  /// Which address of the server's the vendor calls with the result.
  std::string callbackUrl;
  /// Of the document scan that enrolled the user.
  std::string enrollmentTransactionReference;
  std::weak_ptr<AuthenticationControllerDelegate> delegate;
};

/// One face check. Main thread.
class AuthenticationController {
 public:
  virtual ~AuthenticationController() = default;
  /// The check is over, or a new one takes its place: camera and connections are given back and the
  /// delegate hears no more. Once.
  virtual void destroy() = 0;
};

/// Port: the vendor's face check against an earlier enrolment. Main thread. Absent: an alert tells
/// that this device cannot do the step, and the user stays on the screen.
class JumioAuthenticationSDK : public JumioDeviceInfo {
 public:
  /// Starts to get ready at once, without blocking; the delegate hears the rest, failures included.
  /// Null: there is none, and nothing is shown.
  virtual std::shared_ptr<AuthenticationController> makeAuthenticationController(
      AuthenticationConfiguration configuration) = 0;
};

}  // namespace veltrane
