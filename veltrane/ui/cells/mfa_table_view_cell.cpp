#include "veltrane/ui/cells/mfa_table_view_cell.h"

#include <utility>

namespace veltrane {

MFATableViewCell::MFATableViewCell()
    : outlet_([this](PicturePtr picture) {
        iconImage.image = std::move(picture);
        changed();
      }) {}

void MFATableViewCell::configure(const AuthMethod& record) {
  titleLabel.text = record.title;
  subTitleLabel.text = record.subTitle;
  if (record.imageURL) outlet_.loadURL(*record.imageURL);
  changed();
}

}  // namespace veltrane
