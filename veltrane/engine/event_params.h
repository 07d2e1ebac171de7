#pragma once

#include <string>

#include "veltrane/base/json.h"

namespace veltrane {

/// Where an event goes: six identifiers from the top level of a flow document.
struct EventParams {
  std::string id;
  std::string companyId;
  std::string flowId;
  std::string connectionId;
  std::string capabilityName;
  std::string interactionId;

  /// A missing identifier, or one that is not text, is the empty text.
  static EventParams from(const JSON& flow);
  JSON toJSON() const;

  friend bool operator==(const EventParams&, const EventParams&) = default;
};

}  // namespace veltrane
