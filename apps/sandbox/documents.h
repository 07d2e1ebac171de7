#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "apps/sandbox/flow.h"

namespace veltrane::sandbox {

/// What the placeholders of an answer stand for: "${interactionId}", "${companyId}", "${flowId}".
struct PlaceholderValues {
  std::string interactionId;
  std::string companyId;
  std::string flowId;
};

/// The flow documents in an answer: the answer itself, or its "screen", whichever has an
/// "interactionId".
std::vector<DocumentIds> documentsIn(const nlohmann::json& answer);

/// The name of the first placeholder in JSON text that is not one of the three; empty: none.
std::string unknownPlaceholder(const std::string& jsonText);

/// JSON text with its placeholders replaced, escaped as JSON asks.
std::string filled(const std::string& jsonText, const PlaceholderValues& values);

DocumentIds filled(DocumentIds ids, const PlaceholderValues& values);

}  // namespace veltrane::sandbox
