#pragma once

#include <string>
#include <vector>

#include "apps/sandbox/flow.h"

namespace veltrane::sandbox {

/// What is answered at "/pictures/" and these segments: the drawing's file, or the file behind the
/// name of a trouble. `serverPort` is for the trouble that leads away from TLS. Throws Refusal.
Reply pictureReply(const std::vector<std::string>& segments, int serverPort);

}  // namespace veltrane::sandbox
