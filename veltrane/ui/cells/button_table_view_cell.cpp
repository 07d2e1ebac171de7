#include "veltrane/ui/cells/button_table_view_cell.h"

namespace veltrane {

void ButtonTableViewCell::configure(const JSON& buttonText) {
  button.titleColor = themeColor("buttonTextColor");
  button.backgroundColor = themeColor("buttonBackgroundColor");
  button.title = buttonText.asText();
  changed();
}

void ButtonTableViewCell::buttonPressed() {
  if (const auto listener = delegate.lock()) listener->buttonPressed();
}

}  // namespace veltrane
