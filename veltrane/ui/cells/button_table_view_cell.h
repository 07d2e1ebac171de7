#pragma once

#include <memory>

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class ButtonTableViewCellDelegate {
 public:
  virtual ~ButtonTableViewCellDelegate() = default;
  virtual void buttonPressed() = 0;
};

class ButtonTableViewCell final : public BaseCell {
 public:
  ButtonTableViewCell() { button.cornerRadius = 8.0; }
  std::string_view className() const override { return "ButtonTableViewCell"; }

  Button button;
  std::weak_ptr<ButtonTableViewCellDelegate> delegate;

  void configure(const JSON& buttonText);
  void buttonPressed();
};

}  // namespace veltrane
