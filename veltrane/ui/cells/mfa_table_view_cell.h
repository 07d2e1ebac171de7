#pragma once

#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/table_view.h"
#include "veltrane/ui/cells/picture_outlet.h"
#include "veltrane/ui/mfa_screen1_view_model.h"

namespace veltrane {

/// One authentication method to choose from. Main thread only.
class MFATableViewCell final : public TableViewCell {
 public:
  MFATableViewCell();
  std::string_view className() const override { return "MFATableViewCell"; }

  /// Empty until the icon has arrived, and for good when there is none.
  ImageView iconImage;
  Label titleLabel;
  Label subTitleLabel;

  void configure(const AuthMethod& record);

  void willDisplay() override { outlet_.willDisplay(); }
  void didEndDisplaying() override { outlet_.didEndDisplaying(); }
  bool isLoading() const override { return outlet_.isLoading(); }

 private:
  PictureOutlet outlet_;
};

}  // namespace veltrane
