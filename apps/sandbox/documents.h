#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "apps/sandbox/flow.h"
#include "apps/sandbox/placeholders.h"

namespace veltrane::sandbox {

/// The flow documents in an answer: the answer itself, or its "screen", whichever has an
/// "interactionId".
std::vector<DocumentIds> documentsIn(const nlohmann::json& answer);

/// The ids with their placeholders replaced.
DocumentIds filled(DocumentIds ids, const PlaceholderValues& values);

}  // namespace veltrane::sandbox
