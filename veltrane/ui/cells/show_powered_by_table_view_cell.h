#pragma once

#include "veltrane/ui/cells/base_cell.h"

namespace veltrane {

class ShowPoweredByTableViewCell final : public BaseCell {
 public:
  std::string_view className() const override { return "ShowPoweredByTableViewCell"; }
};

}  // namespace veltrane
