#pragma once

#include "apps/vtflow/drive/drive_options.h"

namespace veltrane::tool {

/// Runs one flow without a window: events go to `output` as lines, commands come from `input`. Both
/// descriptors stay the caller's. Returns the exit status. The calling thread is the main thread of
/// the flow; one run at a time in a process.
int drive(const DriveOptions& options, int input, int output);

}  // namespace veltrane::tool
