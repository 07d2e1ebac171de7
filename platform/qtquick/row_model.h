#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/qtquick/cell_items.h"
#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/table_view.h"

namespace veltrane::qtquick {

/// What makes a row the same row after a reload. The class name lives as long as the program, the
/// key only until the table changes.
struct RowIdentity {
  std::string_view className;
  std::optional<std::string_view> key;
};

/// A table of the core as a list model. An item is made when a delegate first asks for its row, so
/// a long list costs what is looked at. A reload inserts and removes the rows that differ and
/// points the others at their new cells: a delegate that stays keeps its focus and caret.
class RowModel : public QAbstractListModel {
  Q_OBJECT
  QML_NAMED_ELEMENT(RowModel)
  QML_UNCREATABLE("Rows come from the screen")

 public:
  /// Tells a row's identity without making its cell.
  using Identify = std::function<RowIdentity(std::size_t row)>;
  enum Role { CellClassRole = Qt::UserRole + 1, CellRole, ScreenRole };

  /// The table and the screen outlive the model.
  RowModel(TableView& table, Identify identify, Cell::PaletteSource palette, QObject* screen);
  ~RowModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  /// The nearest row after (`step` 1) or before (-1) `row` that takes the keyboard's focus, -1 when
  /// there is none.
  Q_INVOKABLE int nextFocusRow(int row, int step) const;
  /// The nearest row after `row` that waits to be filled in: a text field, or a dropdown without a
  /// choice. -1 when there is none.
  Q_INVOKABLE int nextOpenField(int row) const;
  /// Presses the screen's button: the first one after `row`, else the first of all.
  Q_INVOKABLE void pressButton(int row);
  /// The class name of a row, empty for a row that is not there.
  Q_INVOKABLE QString cellClass(int row) const;

  /// The first row of this key or class, -1 when there is none.
  int rowOfKey(const std::string& key) const;
  int rowOfClass(const std::string& className) const;

  /// Something that a row on display shows is still on its way.
  bool isLoading() const;

  /// Colours have changed.
  void refresh();

 private:
  /// A row's identity without a text of its own: thousands of them are made before a first frame.
  /// Should two keys share a hash, a delegate stays for a row that is not quite its own.
  struct Name {
    std::string_view className;
    std::size_t keyHash;

    friend auto operator<=>(const Name&, const Name&) = default;
  };
  struct Row {
    Name name;
    std::unique_ptr<Cell> item;
  };

  Name nameOf(std::size_t row) const;
  std::vector<Name> names() const;
  void fill();
  void reload();
  void removeRun(std::size_t first, std::size_t count);
  void insertRun(std::size_t first, const std::vector<Name>& from, std::size_t begin,
                 std::size_t count);
  void rebind();
  bool isOpenField(std::size_t row) const;

  TableView& table_;
  Identify identify_;
  Cell::PaletteSource palette_;
  /// What delegates look their colours and margins up in.
  QObject* screen_;
  mutable std::vector<Row> rows_;
  /// Items of rows that have gone; pooled delegates may still read them.
  std::vector<std::unique_ptr<Cell>> retired_;
  Subscription reloaded_;
};

}  // namespace veltrane::qtquick
