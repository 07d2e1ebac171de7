#include "veltrane/ui/cells/image_table_view_cell.h"

namespace veltrane {

void ImageTableViewCell::configure(const JSON& /*iconValue*/,
                                   std::optional<CellValueKind> valueKind,
                                   const std::optional<JSON>& props,
                                   const std::weak_ptr<ViewController>& /*fromViewController*/) {
  kind = valueKind;
  if (const auto word = textProp(props, "imageContentMode")) icon.contentMode = contentMode(*word);
  if (props) imageHeightConstraint = (*props)["height"].number();
  changed();
}

}  // namespace veltrane
