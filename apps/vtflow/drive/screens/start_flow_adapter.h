#pragma once

#include <memory>

#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {
class StartFlowVC;
}

namespace veltrane::tool {

class StartFlowAdapter final : public ScreenAdapter {
 public:
  StartFlowAdapter(const std::shared_ptr<StartFlowVC>& screen, ScreenListener listener);

  Dictionary describe() override;
  bool isStartScreen() const override { return true; }
  Refusal cancel() override;
  Refusal retry() override;

 private:
  std::weak_ptr<StartFlowVC> screen_;
  Dictionary told_;
  Subscription changes_;
};

}  // namespace veltrane::tool
