#pragma once

#include <memory>
#include <string>

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class TextFieldTableViewCellDelegate {
 public:
  virtual ~TextFieldTableViewCellDelegate() = default;
  virtual void textChange(const std::string& text, IndexPath indexPath) = 0;
};

class TextFieldTableViewCell final : public BaseCell {
 public:
  std::string_view className() const override { return "TextFieldTableViewCell"; }

  Label displayNameLabel;
  TextField valueTextField;
  std::weak_ptr<TextFieldTableViewCellDelegate> delegate;
  std::optional<IndexPath> indexPath;

  void configure(IndexPath path, const JSON& value, const std::optional<JSON>& props);
  /// The user has edited the field; `text` is its whole text.
  void textFieldDidChange(const std::string& text);
};

}  // namespace veltrane
