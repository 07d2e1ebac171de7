#pragma once

#include <memory>
#include <string>
#include <vector>

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class ViewController;

class DropdownTableViewCellDelegate {
 public:
  virtual ~DropdownTableViewCellDelegate() = default;
  virtual void optionSelected(const std::string& text, IndexPath indexPath) = 0;
};

class DropdownTableViewCell final : public BaseCell {
 public:
  DropdownTableViewCell();
  std::string_view className() const override { return "DropdownTableViewCell"; }

  Label dropdownLabel;
  Button dropdownValueButton;
  std::vector<std::string> options;
  std::string displayName;
  /// True once the button shows a choice instead of the invitation to choose.
  bool hasChoice = false;
  std::weak_ptr<DropdownTableViewCellDelegate> delegate;
  std::optional<IndexPath> indexPath;
  std::weak_ptr<ViewController> fromViewConroller;

  /// Whether `value` is a text that is one of the choices, so that a dropdown shows it as chosen.
  static bool offers(const std::optional<JSON>& props, const JSON& value);

  void configure(const JSON& value, const std::optional<JSON>& props);
  /// The user presses the button: presents an action sheet with the options and "Dismiss".
  void dropdownButtonPressed();

 private:
  void choose(const std::string& option);
};

}  // namespace veltrane
