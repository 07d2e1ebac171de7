#include "veltrane/connectors/identity_connector.h"

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {

const Dictionary& IdentityConnector::beginStep(const UserViewProps& viewProps,
                                               std::size_t index) const {
  if (index >= viewProps.size()) fatal("There is no such user view to hand over for.");
  console::print("userViewprops: ", viewProps[index]);
  if (const auto screen = host()) screen->beginStep(viewProps[index], index);
  return viewProps[index];
}

void IdentityConnector::endFlow(std::string message) const {
  if (const auto screen = host()) {
    screen->notify({{"error", VeltraneFlowError::veltraneError(std::move(message))}});
  }
}

void IdentityConnector::tellOfNoSDK() const {
  if (const auto screen = host()) {
    screen->showAlert("Your identity cannot be verified on this device.");
  }
}

void releaseLater(std::shared_ptr<void> object) {
  MainQueue::current().async([object = std::move(object)] {});
}

}  // namespace veltrane
