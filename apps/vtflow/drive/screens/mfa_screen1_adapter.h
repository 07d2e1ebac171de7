#pragma once

#include <memory>

#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "apps/vtflow/drive/screens/shown_rows.h"

namespace veltrane {
class MfaScreen1VC;
}

namespace veltrane::tool {

class MfaScreen1Adapter final : public ScreenAdapter {
 public:
  MfaScreen1Adapter(const std::shared_ptr<MfaScreen1VC>& screen, ScreenListener listener);

  Dictionary describe() override;
  Refusal select(std::size_t row) override;
  Refusal cancel() override;

 private:
  std::weak_ptr<MfaScreen1VC> screen_;
  ShownRows rows_;
};

}  // namespace veltrane::tool
