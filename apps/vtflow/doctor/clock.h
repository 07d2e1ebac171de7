#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "apps/vtflow/doctor/finding.h"

namespace veltrane::tool {

/// What there is to judge this machine's clock by.
struct ClockReading {
  std::chrono::sys_seconds now;
  /// When this program was made: no clock is behind that.
  std::chrono::sys_seconds built;
  /// The server's clock at the same time.
  std::optional<std::chrono::sys_seconds> server = std::nullopt;
  /// Why a server that was asked did not tell; empty: it did, or none was asked.
  std::string serverFailure = {};
  /// Whether the system keeps its clock by others'.
  bool isSynchronised = false;
};

/// Nothing known of the server.
ClockReading readClock();

/// Asks the server of that base URL, HTTPS or HTTP on loopback, for its clock. `authorityFile`: to
/// trust instead of the system's authorities. Blocks up to ten seconds.
ClockReading readClock(const std::string& baseURL,
                       const std::optional<std::filesystem::path>& authorityFile);

/// A clock that is wrong has certificates refused, and with them every flow.
Finding judge(const ClockReading& reading);

/// A "Date" header's time; nothing when it is none.
std::optional<std::chrono::sys_seconds> parseHTTPDate(const std::string& text);

}  // namespace veltrane::tool
