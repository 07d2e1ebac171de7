#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "veltrane/engine/cell_properties.h"

namespace veltrane {

class TableViewCell;

/// A kind of row: the class that draws it, by its name, which is also its reuse identifier.
struct CellClass {
  CellType type;
  std::string_view name;
  std::shared_ptr<TableViewCell> (*make)();
};

/// Every cell class, in the order in which they are registered with a table.
const std::array<CellClass, 7>& getAllClasses();

/// The name of the class that draws rows of this type.
std::string_view cellClassName(CellType type);

}  // namespace veltrane
