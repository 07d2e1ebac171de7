#include "veltrane/ui/cells/image_table_view_cell.h"

#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/face/image.h"

namespace veltrane {

ImageTableViewCell::ImageTableViewCell()
    : outlet_([this](PicturePtr picture) {
        icon.image = std::move(picture);
        changed();
      }) {}

void ImageTableViewCell::configure(const JSON& iconValue, std::optional<CellValueKind> valueKind,
                                   const std::optional<JSON>& props,
                                   const std::weak_ptr<ViewController>& /*fromViewController*/) {
  kind = valueKind;
  if (const auto word = textProp(props, "imageContentMode")) icon.contentMode = contentMode(*word);
  if (props) imageHeightConstraint = (*props)["height"].number();
  // A row that the server lists itself has no kind; its attributes may tell what its value is.
  const auto form = kind ? std::string(rawValue(*kind)) : textProp(props, "imageType").value_or("");
  if (form == rawValue(CellValueKind::pngBase64Image)) {
    console::print("Construct image from base64Image string .............");
    outlet_.loadBase64(iconValue);
  } else if (form == rawValue(CellValueKind::pngURLImage)) {
    console::print("downloading image from URL .............");
    icon.scale = Image::scaleOfVariant(iconValue.textValue());
    outlet_.loadURL(iconValue.textValue());
  }
  changed();
}

}  // namespace veltrane
