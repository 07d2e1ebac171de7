#pragma once

#include <memory>
#include <string_view>

#include "apps/vtflow/drive/hand_over/sdk_outcome.h"
#include "apps/vtflow/drive/line_writer.h"
#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::tool {

/// An identity SDK that has been started and waits for the script.
class HandOver {
 public:
  virtual ~HandOver() = default;
  /// Refused when this SDK has no such outcome, or has ended.
  virtual Refusal answer(const SDKOutcome& outcome) = 0;
};

/// Tells of hand-overs as they begin, and gives the script's answers to the last one. Main thread.
class HandOvers {
 public:
  explicit HandOvers(std::shared_ptr<LineWriter> out) : out_(std::move(out)) {}

  /// Writes the "handover" event.
  void began(std::weak_ptr<HandOver> handOver, std::string_view sdk,
             const Dictionary& configuration, ModalPresentationStyle presentation);
  Refusal answer(const SDKOutcome& outcome);

 private:
  std::shared_ptr<LineWriter> out_;
  std::weak_ptr<HandOver> last_;
};

}  // namespace veltrane::tool
