#include "apps/vtflow/drive/screens/start_flow_adapter.h"

#include <utility>

#include "apps/vtflow/drive/event.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane::tool {
namespace {

Dictionary fieldsOf(const StartFlowVC& screen) {
  return {{"label", textValue(screen.loadingLabel.text)},
          {"retryVisible", JSON(!screen.isRetryButtonHidden)}};
}

}  // namespace

StartFlowAdapter::StartFlowAdapter(const std::shared_ptr<StartFlowVC>& screen,
                                   ScreenListener listener)
    : ScreenAdapter(screen), screen_(screen) {
  changes_ = screen->changed.subscribe([this, listener = std::move(listener)] {
    const auto changed = screen_.lock();
    if (changed && !told_.empty() && fieldsOf(*changed) != told_) listener.contentReplaced();
  });
}

Dictionary StartFlowAdapter::describe() {
  if (const auto screen = screen_.lock()) told_ = fieldsOf(*screen);
  return told_;
}

Refusal StartFlowAdapter::cancel() {
  if (const auto screen = screen_.lock()) screen->cancelPressed();
  return std::nullopt;
}

Refusal StartFlowAdapter::retry() {
  const auto screen = screen_.lock();
  if (!screen || screen->isRetryButtonHidden) return "the start screen offers no retry yet";
  screen->retryButtonAction();
  return std::nullopt;
}

}  // namespace veltrane::tool
