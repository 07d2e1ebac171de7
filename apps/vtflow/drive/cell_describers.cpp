#include "apps/vtflow/drive/cell_describers.h"

#include <array>
#include <string>
#include <string_view>

#include "apps/vtflow/drive/event.h"
#include "veltrane/base/text.h"
#include "veltrane/ui/cells/button_table_view_cell.h"
#include "veltrane/ui/cells/dropdown_table_view_cell.h"
#include "veltrane/ui/cells/image_table_view_cell.h"
#include "veltrane/ui/cells/label_table_view_cell.h"
#include "veltrane/ui/cells/mfa_table_view_cell.h"
#include "veltrane/ui/cells/text_field_table_view_cell.h"
#include "veltrane/ui/cells/toggle_switch_table_view_cell.h"

namespace veltrane::tool {
namespace {

JSON alignmentValue(std::optional<TextAlignment> alignment) {
  static constexpr std::array<std::string_view, 3> kWords = {"left", "center", "right"};
  return alignment ? JSON(kWords.at(static_cast<std::size_t>(*alignment))) : JSON();
}

template <typename Enum>
JSON wordValue(const std::optional<Enum>& value) {
  return value ? JSON(word(*value)) : JSON();
}

/// [width, height] in pixels.
JSON sizeValue(const PicturePtr& picture) {
  if (!picture) return {};
  return JSON::array({picture->size.width, picture->size.height});
}

std::string bullets(std::string_view secret) {
  std::string text;
  for (auto count = codePointCount(secret); count > 0; --count) text += "•";
  return text;
}

void addCaption(Dictionary& fields, const Label& caption) {
  fields.set("caption", textValue(caption.text));
  fields.set("color", colorValue(caption.textColor));
}

Dictionary describe(const LabelTableViewCell& cell) {
  return {{"text", textValue(cell.label.text)},
          {"color", colorValue(cell.label.textColor)},
          {"fontSize", JSON(cell.label.font.size)},
          {"bold", JSON(cell.label.font.bold)},
          {"alignment", alignmentValue(cell.label.alignment)}};
}

Dictionary describe(const ImageTableViewCell& cell) {
  return {{"kind", cell.kind ? JSON(rawValue(*cell.kind)) : JSON()},
          {"contentMode", wordValue(cell.icon.contentMode)},
          {"height", numberValue(cell.imageHeightConstraint)},
          {"picture", sizeValue(cell.icon.image)}};
}

Dictionary describe(const MFATableViewCell& cell) {
  return {{"title", textValue(cell.titleLabel.text)},
          {"subTitle", textValue(cell.subTitleLabel.text)},
          {"icon", sizeValue(cell.iconImage.image)}};
}

Dictionary describe(const ButtonTableViewCell& cell) {
  return {{"title", textValue(cell.button.title)},
          {"titleColor", colorValue(cell.button.titleColor)},
          {"background", colorValue(cell.button.backgroundColor)}};
}

Dictionary describe(const TextFieldTableViewCell& cell) {
  const TextField& field = cell.valueTextField;
  Dictionary fields = {
      {"text", textValue(field.isSecureTextEntry ? bullets(field.text) : field.text)},
      {"placeholder", textValue(field.placeholder)},
      {"keyboard", wordValue(field.keyboardType)},
      {"secure", JSON(field.isSecureTextEntry)}};
  addCaption(fields, cell.displayNameLabel);
  return fields;
}

Dictionary describe(const ToggleSwitchTableViewCell& cell) {
  Dictionary fields = {{"onTint", colorValue(cell.toggleSwitch.onTintColor)},
                       {"on", JSON(cell.toggleSwitch.isOn)}};
  addCaption(fields, cell.label);
  return fields;
}

Dictionary describe(const DropdownTableViewCell& cell) {
  std::vector<JSON> options;
  for (const auto& option : cell.options) options.push_back(textValue(option));
  Dictionary fields = {{"title", textValue(cell.dropdownValueButton.title)},
                       {"options", JSON::array(options)}};
  addCaption(fields, cell.dropdownLabel);
  return fields;
}

struct Describer {
  std::string_view className;
  Dictionary (*describe)(const TableViewCell&);
};

template <typename Cell>
Dictionary describeAs(const TableViewCell& cell) {
  return describe(static_cast<const Cell&>(cell));
}

constexpr Describer kDescribers[] = {
    {"LabelTableViewCell", describeAs<LabelTableViewCell>},
    {"ImageTableViewCell", describeAs<ImageTableViewCell>},
    {"ButtonTableViewCell", describeAs<ButtonTableViewCell>},
    {"TextFieldTableViewCell", describeAs<TextFieldTableViewCell>},
    {"ToggleSwitchTableViewCell", describeAs<ToggleSwitchTableViewCell>},
    {"DropdownTableViewCell", describeAs<DropdownTableViewCell>},
    {"MFATableViewCell", describeAs<MFATableViewCell>},
};

}  // namespace

Dictionary describeCell(const TableViewCell& cell) {
  for (const Describer& describer : kDescribers) {
    if (describer.className == cell.className()) return describer.describe(cell);
  }
  return {};
}

Dictionary describeRow(TableView& table, std::size_t row) {
  if (row >= table.numberOfRows()) return {};
  const auto cell = table.cell(row);
  auto fields = describeCell(*cell);
  fields.set("row", countValue(row));
  fields.set("cell", JSON(cell->className()));
  return fields;
}

}  // namespace veltrane::tool
