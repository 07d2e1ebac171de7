#pragma once

#include <string>

namespace veltrane {

/// The vendor's check of the device, asked before each hand-over. Main thread, at once.
class JumioDeviceInfo {
 public:
  virtual ~JumioDeviceInfo() = default;
  /// On a device whose protections are broken the step does nothing at all. Where nothing can be
  /// found out, as on a desktop: false.
  virtual bool isJailbrokenDevice() const = 0;
};

/// Where the vendor keeps the data, by the vendor's own numbers.
enum class JumioDataCenter : int { unitedStates = 0 };

/// Why a step could not be done. It goes to the console: no personal data, no token.
struct JumioError {
  /// The vendor's code ("9820"); may be empty.
  std::string code;
  std::string message;

  std::string description() const { return code.empty() ? message : code + ' ' + message; }
};

}  // namespace veltrane
