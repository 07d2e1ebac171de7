#pragma once

#include <memory>

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class ToggleSwitchTableViewCellDelegate {
 public:
  virtual ~ToggleSwitchTableViewCellDelegate() = default;
  virtual void switchValueChanged(bool val, IndexPath indexPath) = 0;
};

class ToggleSwitchTableViewCell final : public BaseCell {
 public:
  std::string_view className() const override { return "ToggleSwitchTableViewCell"; }

  Label label;
  Switch toggleSwitch;
  std::weak_ptr<ToggleSwitchTableViewCellDelegate> delegate;
  std::optional<IndexPath> indexPath;

  /// Reports the initial value at once, so that an untouched switch is part of the screen's input.
  void configure(const JSON& value, const std::optional<JSON>& props);
  /// The user has moved the switch.
  void switchValueChanged(bool on);

 private:
  void report();
};

}  // namespace veltrane
