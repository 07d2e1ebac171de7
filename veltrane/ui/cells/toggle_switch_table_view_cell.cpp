#include "veltrane/ui/cells/toggle_switch_table_view_cell.h"

namespace veltrane {

void ToggleSwitchTableViewCell::configure(const JSON& value, const std::optional<JSON>& props) {
  toggleSwitch.onTintColor = themeColor("buttonBackgroundColor");
  configureCaption(label, props);
  label.font = {.size = 14.0};
  toggleSwitch.isOn = value.boolean().value_or(false);
  changed();
  report();
}

void ToggleSwitchTableViewCell::switchValueChanged(bool on) {
  toggleSwitch.isOn = on;
  report();
  changed();
}

void ToggleSwitchTableViewCell::report() {
  const auto listener = delegate.lock();
  if (listener && indexPath) listener->switchValueChanged(toggleSwitch.isOn, *indexPath);
}

}  // namespace veltrane
