#pragma once

#include <optional>
#include <string>

#include "veltrane/base/json.h"
#include "veltrane/flow/veltrane_flow_error.h"

namespace veltrane::window {

/// How a run ended: a line for a person, secrets masked, and the exit status of the program.
struct ExitReport {
  std::string line;
  int status;
};

ExitReport reportOf(const JSON& response);
ExitReport reportOf(const VeltraneFlowError& error);

}  // namespace veltrane::window
