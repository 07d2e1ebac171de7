#include "apps/vtflow/drive/screens/shown_rows.h"

#include <utility>

namespace veltrane::tool {

ShownRows::ShownRows(Describe describe, Changed changed)
    : describe_(std::move(describe)), changed_(std::move(changed)) {}

JSON ShownRows::describeAll(TableView& table) {
  rows_.emplace(table.numberOfRows());
  std::vector<JSON> descriptions;
  descriptions.reserve(rows_->size());
  for (std::size_t row = 0; row < rows_->size(); ++row) {
    auto changes = table.cell(row)->changed.subscribe([this, row] { changed(row); });
    (*rows_)[row] = {describe_(row), std::move(changes)};
    descriptions.push_back((*rows_)[row].description);
  }
  return JSON::array(descriptions);
}

void ShownRows::changed(std::size_t row) {
  const auto fields = describe_(row);
  if (fields.empty()) return;
  JSON description = fields;
  JSON& told = rows_->at(row).description;
  if (description == told) return;
  told = std::move(description);
  changed_(told);
}

}  // namespace veltrane::tool
