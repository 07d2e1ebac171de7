#include "platform/qtquick/row_model.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <random>

namespace veltrane::qtquick {
namespace {

/// A table whose rows a test writes down as texts: the letter is the class, the rest the key.
class Table final : public TableViewDataSource {
 public:
  Table() {
    table.registerCell("LabelTableViewCell", [] { return std::make_shared<LabelTableViewCell>(); });
    table.registerCell("TextFieldTableViewCell",
                       [] { return std::make_shared<TextFieldTableViewCell>(); });
    table.setDataSource(this);
  }
  std::size_t numberOfRows() const override { return rows.size(); }
  std::shared_ptr<TableViewCell> cellForRow(IndexPath path) override {
    auto cell = table.dequeueReusableCell(identity(path.row).className);
    if (auto* label = dynamic_cast<LabelTableViewCell*>(cell.get()))
      label->label.text = rows[path.row];
    if (auto* field = dynamic_cast<TextFieldTableViewCell*>(cell.get()))
      field->valueTextField.text = rows[path.row];
    return cell;
  }
  RowIdentity identity(std::size_t row) const {
    const bool isField = rows[row][0] == 'F';
    return {isField ? "TextFieldTableViewCell" : "LabelTableViewCell",
            std::string_view(rows[row]).substr(1)};
  }
  void show(std::vector<std::string> now) {
    rows = std::move(now);
    table.reloadData();
  }

  std::vector<std::string> rows;
  TableView table;
};

QString textOf(const Cell* cell) {
  return cell->property("text").toString();
}

class RowModelTest : public ::testing::Test {
 protected:
  Cell* item(int row) {
    return qobject_cast<Cell*>(model.data(model.index(row), RowModel::CellRole).value<QObject*>());
  }
  std::vector<std::string> shown() {
    std::vector<std::string> texts;
    for (int row = 0; row < model.rowCount(); ++row) {
      texts.push_back(textOf(item(row)).toStdString());
    }
    return texts;
  }

  Table source;
  Palette palette;
  RowModel model{source.table, [this](std::size_t row) { return source.identity(row); },
                 [this]() -> const Palette& { return palette; }, nullptr};
};

TEST_F(RowModelTest, RowsThatStayKeepTheirItems) {
  source.show({"La", "Fb", "Fc", "Ld"});
  Cell* const b = item(1);
  Cell* const c = item(2);
  source.show({"Lnew", "Fb", "Lother", "Fc"});
  EXPECT_EQ(item(1), b);
  EXPECT_EQ(item(3), c);
  EXPECT_EQ(shown(), source.rows);
}

TEST_F(RowModelTest, ARowThatHasGoneShowsItsLastTextAndDoesNothing) {
  source.show({"Fa", "Fb"});
  auto* const gone = qobject_cast<TextFieldCell*>(item(0));
  source.show({"Fb"});
  EXPECT_FALSE(gone->isAttached());
  EXPECT_EQ(gone->text(), "Fa");
  gone->edit("still here?");
  EXPECT_EQ(gone->text(), "Fa");
  EXPECT_EQ(shown(), source.rows);
}

TEST_F(RowModelTest, FollowsAnyReload) {
  const QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::Warning);
  std::mt19937 random(11);
  std::uniform_int_distribution<int> key(0, 5), kind(0, 1), count(0, 12);
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> rows(static_cast<std::size_t>(count(random)));
    for (auto& row : rows)
      row = std::string(kind(random) ? "F" : "L") + std::to_string(key(random));
    source.show(std::move(rows));
    ASSERT_EQ(shown(), source.rows) << "round " << round;
  }
}

}  // namespace
}  // namespace veltrane::qtquick
