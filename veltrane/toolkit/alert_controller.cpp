#include "veltrane/toolkit/alert_controller.h"

#include <algorithm>
#include <utility>

namespace veltrane {

AlertController::AlertController(std::optional<std::string> alertTitle,
                                 std::optional<std::string> message, AlertStyle style)
    : message_(std::move(message)), style_(style) {
  title = std::move(alertTitle);
}

void AlertController::select(std::size_t index) {
  if (answered_ || index >= actions_.size()) return;
  answered_ = true;
  const auto self = shared_from_this();
  const auto handler = actions_[index].handler;
  dismiss(true);
  if (handler) handler();
}

void AlertController::cancel() {
  const auto isCancel = [](const AlertAction& action) {
    return action.style == AlertActionStyle::cancel;
  };
  const auto found = std::find_if(actions_.begin(), actions_.end(), isCancel);
  if (found != actions_.end()) select(static_cast<std::size_t>(found - actions_.begin()));
}

}  // namespace veltrane
