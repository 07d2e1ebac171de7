#pragma once

#include <memory>

#include "veltrane/ui/cells/base_cell.h"
#include "veltrane/ui/cells/picture_outlet.h"

namespace veltrane {

class ViewController;

/// A picture, given as Base64 text or by its URL. It arrives later; a picture that cannot be had
/// leaves the row empty.
class ImageTableViewCell final : public BaseCell {
 public:
  ImageTableViewCell();
  std::string_view className() const override { return "ImageTableViewCell"; }

  ImageView icon;
  /// Height of the picture in points; absent: the front end's own.
  std::optional<double> imageHeightConstraint;
  std::optional<CellValueKind> kind;

  void configure(const JSON& iconValue, std::optional<CellValueKind> valueKind,
                 const std::optional<JSON>& props,
                 const std::weak_ptr<ViewController>& fromViewController);

  /// The record names a picture, be it there yet or not.
  bool hasSource() const { return outlet_.hasSource(); }

  void willDisplay() override { outlet_.willDisplay(); }
  void didEndDisplaying() override { outlet_.didEndDisplaying(); }
  bool isLoading() const override { return outlet_.isLoading(); }

 private:
  PictureOutlet outlet_;
};

}  // namespace veltrane
