#include "veltrane/toolkit/table_view.h"

#include <utility>

namespace veltrane {

void TableView::registerCell(std::string_view reuseIdentifier, CellFactory factory) {
  factories_[std::string(reuseIdentifier)] = std::move(factory);
}

std::shared_ptr<TableViewCell> TableView::dequeueReusableCell(
    std::string_view reuseIdentifier) const {
  const auto factory = factories_.find(reuseIdentifier);
  return factory == factories_.end() ? nullptr : factory->second();
}

void TableView::reloadData() {
  cells_.assign(dataSource_ ? dataSource_->numberOfRows() : 0, nullptr);
  reloaded();
}

std::shared_ptr<TableViewCell> TableView::cell(std::size_t row) {
  auto& cell = cells_.at(row);
  if (!cell) cell = dataSource_->cellForRow(IndexPath{row});
  return cell;
}

}  // namespace veltrane
