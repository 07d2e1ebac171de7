#include "veltrane/ui/cells/text_field_table_view_cell.h"

#include "veltrane/base/console.h"

namespace veltrane {

void TextFieldTableViewCell::configure(IndexPath path, const JSON& value,
                                       const std::optional<JSON>& props) {
  indexPath = path;
  if (const auto text = value.text()) valueTextField.text = *text;
  if (auto placeholder = textProp(props, "placeholder")) {
    valueTextField.placeholder = std::move(placeholder);
  }
  if (const auto word = textProp(props, "keyboardType")) {
    valueTextField.keyboardType = keyboardType(*word);
    if (!valueTextField.keyboardType) {
      console::print(*word + " -- this inputType is not supported.");
    }
  }
  if (props) {
    if (const auto secure = (*props)["hashedVisibility"].boolean()) {
      valueTextField.isSecureTextEntry = *secure;
    }
  }
  configureCaption(displayNameLabel, props);
  changed();
}

void TextFieldTableViewCell::textFieldDidChange(const std::string& text) {
  valueTextField.text = text;
  console::print("textFieldDidChange .... ");
  console::print("value:   " +
                 (valueTextField.isSecureTextEntry ? std::string(console::kMask) : text));
  const auto listener = delegate.lock();
  if (listener && indexPath) listener->textChange(text, *indexPath);
  changed();
}

}  // namespace veltrane
