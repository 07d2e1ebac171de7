#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {

struct IndexPath {
  std::size_t row = 0;

  friend bool operator==(const IndexPath&, const IndexPath&) = default;
};

/// One row as retained state.
class TableViewCell : public std::enable_shared_from_this<TableViewCell> {
 public:
  virtual ~TableViewCell() = default;
  /// The class's unqualified name ("LabelTableViewCell"), which is also its reuse identifier.
  virtual std::string_view className() const { return "TableViewCell"; }

  /// A front end starts or stops showing the row. Rows show from the start unless told otherwise.
  virtual void willDisplay() {}
  virtual void didEndDisplaying() {}
  /// Something that the row shows is still on its way.
  virtual bool isLoading() const { return false; }

  /// What the row draws has changed.
  Signal<> changed;
};

class TableViewDataSource {
 public:
  virtual ~TableViewDataSource() = default;
  virtual std::size_t numberOfRows() const = 0;
  /// A configured cell, never null. `indexPath.row` is below `numberOfRows()`.
  virtual std::shared_ptr<TableViewCell> cellForRow(IndexPath indexPath) = 0;
};

/// A list of rows. A cell is made when it is first asked for and kept until the next reload, so a
/// long list costs what is looked at. Main thread only.
class TableView {
 public:
  using CellFactory = std::function<std::shared_ptr<TableViewCell>()>;

  void registerCell(std::string_view reuseIdentifier, CellFactory factory);
  /// Null when nothing is registered under the identifier.
  std::shared_ptr<TableViewCell> dequeueReusableCell(std::string_view reuseIdentifier) const;

  /// The data source outlives the table.
  void setDataSource(TableViewDataSource* dataSource) { dataSource_ = dataSource; }
  /// Forgets all cells and counts the rows again.
  void reloadData();

  std::size_t numberOfRows() const { return cells_.size(); }
  /// `row` is below `numberOfRows()`.
  std::shared_ptr<TableViewCell> cell(std::size_t row);

  EdgeInsets contentInset;
  /// The rows were replaced.
  Signal<> reloaded;

 private:
  TableViewDataSource* dataSource_ = nullptr;
  std::map<std::string, CellFactory, std::less<>> factories_;
  std::vector<std::shared_ptr<TableViewCell>> cells_;
};

}  // namespace veltrane
