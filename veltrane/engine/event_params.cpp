#include "veltrane/engine/event_params.h"

#include "veltrane/base/dictionary.h"

namespace veltrane {

EventParams EventParams::from(const JSON& flow) {
  return {.id = flow["id"].textValue(),
          .companyId = flow["companyId"].textValue(),
          .flowId = flow["flowId"].textValue(),
          .connectionId = flow["connectionId"].textValue(),
          .capabilityName = flow["capabilityName"].textValue(),
          .interactionId = flow["interactionId"].textValue()};
}

JSON EventParams::toJSON() const {
  return Dictionary{{"id", id},
                    {"companyId", companyId},
                    {"flowId", flowId},
                    {"connectionId", connectionId},
                    {"capabilityName", capabilityName},
                    {"interactionId", interactionId}};
}

}  // namespace veltrane
