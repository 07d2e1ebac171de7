#pragma once

#include <memory>

#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "apps/vtflow/drive/screens/shown_rows.h"

namespace veltrane {
class ScreenTemplate1VC;
}

namespace veltrane::tool {

class ScreenTemplate1Adapter final : public ScreenAdapter {
 public:
  ScreenTemplate1Adapter(const std::shared_ptr<ScreenTemplate1VC>& screen, ScreenListener listener);

  Dictionary describe() override;
  bool isLoading() const override;
  bool isWorking() const override;
  Refusal input(const RowName& row, const std::string& text) override;
  Refusal toggle(const RowName& row, bool on) override;
  Refusal choose(const RowName& row, const std::string& option) override;
  Refusal press(std::optional<std::size_t> row) override;
  Refusal cancel() override;

 private:
  Dictionary describeFormRow(std::size_t row) const;
  template <typename Cell, typename Act>
  Refusal act(const RowName& name, const char* kind, Act act);

  std::weak_ptr<ScreenTemplate1VC> screen_;
  ScreenListener listener_;
  ShownRows rows_;
  Subscription changes_;
  Subscription reloads_;
};

}  // namespace veltrane::tool
