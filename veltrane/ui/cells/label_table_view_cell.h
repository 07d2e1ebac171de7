#pragma once

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class LabelTableViewCell final : public BaseCell {
 public:
  std::string_view className() const override { return "LabelTableViewCell"; }

  Label label;

  void configure(const JSON& text, const std::optional<JSON>& props);
};

}  // namespace veltrane
