#include "veltrane/ui/cells/cell_classes.h"

#include <algorithm>

#include "veltrane/ui/cells/button_table_view_cell.h"
#include "veltrane/ui/cells/dropdown_table_view_cell.h"
#include "veltrane/ui/cells/image_table_view_cell.h"
#include "veltrane/ui/cells/label_table_view_cell.h"
#include "veltrane/ui/cells/show_powered_by_table_view_cell.h"
#include "veltrane/ui/cells/text_field_table_view_cell.h"
#include "veltrane/ui/cells/toggle_switch_table_view_cell.h"

namespace veltrane {
namespace {

template <typename Cell>
std::shared_ptr<TableViewCell> make() {
  return std::make_shared<Cell>();
}

}  // namespace

const std::array<CellClass, 7>& getAllClasses() {
  static const std::array<CellClass, 7> classes = {{
      {CellType::label, "LabelTableViewCell", make<LabelTableViewCell>},
      {CellType::image, "ImageTableViewCell", make<ImageTableViewCell>},
      {CellType::button, "ButtonTableViewCell", make<ButtonTableViewCell>},
      {CellType::textField, "TextFieldTableViewCell", make<TextFieldTableViewCell>},
      {CellType::showPoweredBy, "ShowPoweredByTableViewCell", make<ShowPoweredByTableViewCell>},
      {CellType::dropdown, "DropdownTableViewCell", make<DropdownTableViewCell>},
      {CellType::toggleSwitch, "ToggleSwitchTableViewCell", make<ToggleSwitchTableViewCell>},
  }};
  return classes;
}

std::string_view cellClassName(CellType type) {
  const auto& classes = getAllClasses();
  return std::find_if(classes.begin(), classes.end(),
                      [type](const CellClass& each) { return each.type == type; })
      ->name;
}

}  // namespace veltrane
