#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "veltrane/base/dictionary.h"
#include "veltrane/base/json.h"
#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/table_view.h"

namespace veltrane::tool {

/// The rows of a table as they were last told, and who hears when one looks different. Main
/// thread only.
class ShownRows {
 public:
  /// The fields of a row as it looks now; none when there is no such row any more.
  using Describe = std::function<Dictionary(std::size_t row)>;
  using Changed = std::function<void(const JSON& row)>;

  ShownRows(Describe describe, Changed changed);

  /// All rows of the table, from now on watched.
  JSON describeAll(TableView& table);
  /// False until the rows have been described.
  bool wereDescribed() const { return rows_.has_value(); }

 private:
  struct Row {
    JSON description;
    Subscription changes;
  };

  void changed(std::size_t row);

  Describe describe_;
  Changed changed_;
  std::optional<std::vector<Row>> rows_;
};

}  // namespace veltrane::tool
