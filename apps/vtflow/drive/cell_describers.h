#pragma once

#include "veltrane/base/dictionary.h"
#include "veltrane/toolkit/table_view.h"

namespace veltrane::tool {

/// What a row shows, by its cell class; nothing for a class that shows nothing of its own.
Dictionary describeCell(const TableViewCell& cell);

/// The same with the row's index and the cell's class; empty when there is no such row.
Dictionary describeRow(TableView& table, std::size_t row);

}  // namespace veltrane::tool
