#pragma once

#include <memory>
#include <vector>

#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane::qtquick {

/// Shows passkeys' sheets over the flow on display, or, when there is none, over the active window
/// that has a `FlowPresenter`. A question that no window can show is cancelled.
class QtPasskeyPresenter final : public PasskeyPresenter {
 public:
  void present(const std::shared_ptr<PasskeySheet>& sheet) override;

 private:
  struct Watched {
    std::weak_ptr<PasskeySheet> sheet;
    Subscription subscription;
  };
  std::vector<Watched> watched_;
};

}  // namespace veltrane::qtquick
