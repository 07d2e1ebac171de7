#pragma once

#include <memory>

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class ViewController;

class ImageTableViewCell final : public BaseCell {
 public:
  std::string_view className() const override { return "ImageTableViewCell"; }

  ImageView icon;
  /// Height of the picture in points; absent: the front end's own.
  std::optional<double> imageHeightConstraint;
  std::optional<CellValueKind> kind;

  void configure(const JSON& iconValue, std::optional<CellValueKind> valueKind,
                 const std::optional<JSON>& props,
                 const std::weak_ptr<ViewController>& fromViewController);
};

}  // namespace veltrane
