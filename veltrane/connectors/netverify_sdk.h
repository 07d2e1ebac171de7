#pragma once

#include <memory>
#include <optional>
#include <string>

#include "veltrane/connectors/hand_over_view_controller.h"
#include "veltrane/connectors/jumio.h"

namespace veltrane {

class NetverifyViewController;

/// What stands in the scanned document. The server learns it from the vendor, so nothing of it
/// passes through here.
struct NetverifyDocumentData {};

using NetverifyError = JumioError;

/// Hears how a document scan ended: one of the two, once. Main thread, never within the call that
/// made the controller. The receiver dismisses and destroys the controller within the call, and
/// lets go of it on a later turn of the main queue. What a destroyed controller tells has no
/// effect.
class NetverifyViewControllerDelegate {
 public:
  virtual ~NetverifyViewControllerDelegate() = default;
  /// `scanReference`: the vendor's number of the scan.
  virtual void netverifyViewControllerDidFinish(NetverifyViewController& controller,
                                                const NetverifyDocumentData& documentData,
                                                const std::string& scanReference) = 0;
  /// The user closed the scan, or it failed. No error: nothing is known but the end.
  virtual void netverifyViewControllerDidCancel(
      NetverifyViewController& controller, const std::optional<NetverifyError>& error,
      const std::optional<std::string>& scanReference) = 0;
};

/// Every text as the server gave it, empty ones included. `apiToken` and `apiSecret` are secrets:
/// they reach no log and no disk.
struct NetverifyConfiguration {
  std::string apiToken;
  std::string apiSecret;
  JumioDataCenter dataCenter = JumioDataCenter::unitedStates;
  /// Which address of the server's the vendor calls with the result.
  std::string callbackUrl;
  std::string customerInternalReference;
  std::weak_ptr<NetverifyViewControllerDelegate> delegate;
};

/// One document scan on display. The core presents it over the screen at once, and dismisses it;
/// on a tablet its `modalPresentationStyle` is set to `formSheet` before. Main thread.
class NetverifyViewController : public HandOverViewController {
 public:
  /// The scan is over, or a new one takes its place: camera and connections are given back and the
  /// delegate hears no more. Once.
  virtual void destroy() = 0;
};

/// Port: the vendor's document scan. Main thread. Absent: an alert tells that this device cannot do
/// the step, and the user stays on the screen.
class NetverifySDK : public JumioDeviceInfo {
 public:
  /// What only the network or the user can tell is not waited for: a controller is made, and its
  /// delegate hears. Null: there is none, and nothing is shown.
  virtual std::shared_ptr<NetverifyViewController> makeNetverifyViewController(
      NetverifyConfiguration configuration) = 0;
};

}  // namespace veltrane
