#include "apps/vtflow/drive/hand_over/hand_overs.h"

#include <utility>

#include "veltrane/base/console.h"

namespace veltrane::tool {

void HandOvers::began(std::weak_ptr<HandOver> handOver, std::string_view sdk,
                      const Dictionary& configuration, ModalPresentationStyle presentation) {
  last_ = std::move(handOver);
  const bool isSheet = presentation == ModalPresentationStyle::formSheet;
  out_->write(Event("handover")
                  .set("sdk", JSON(sdk))
                  .set("configuration", console::masked(configuration))
                  .set("presentation", JSON(isSheet ? "formSheet" : "default")));
}

Refusal HandOvers::answer(const SDKOutcome& outcome) {
  const auto handOver = last_.lock();
  return handOver ? handOver->answer(outcome) : "no identity SDK is waiting for an answer";
}

}  // namespace veltrane::tool
