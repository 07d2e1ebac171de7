// The rows of the generic screen: which cell draws which record, and what the user enters.
#include <algorithm>
#include <string>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/base/text.h"
#include "veltrane/ui/cells/cell_classes.h"
#include "veltrane/ui/cells/image_table_view_cell.h"
#include "veltrane/ui/cells/label_table_view_cell.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace veltrane {
namespace {

/// What a row tells by itself, seen or not: a switch its position, a dropdown its saved choice.
std::optional<JSON> untouchedValue(CellType type, const JSON& value,
                                   const std::optional<JSON>& props) {
  if (type == CellType::toggleSwitch) return value.boolean().value_or(false);
  const bool isChosen = type == CellType::dropdown && DropdownTableViewCell::offers(props, value);
  return isChosen ? std::optional(value) : std::nullopt;
}

/// The cell as the class that is registered for its row's type.
template <typename Cell>
Cell& as(BaseCell& cell) {
  return static_cast<Cell&>(cell);
}

/// What the user had entered before the rows were replaced comes before the server's value.
const JSON& valueToShow(const CellProperties& record, const Dictionary& entered) {
  const JSON* kept = record.key ? entered.find(*record.key) : nullptr;
  return kept ? *kept : record.value;
}

bool isBlank(const JSON& value) {
  const auto text = value.text();
  return text && trimmed(*text).empty();
}

}  // namespace

void ScreenTemplate1VC::registerCells() {
  for (const CellClass& cellClass : getAllClasses()) {
    mainTableView.registerCell(cellClass.name, cellClass.make);
  }
}

// The records know what the rows would tell, so that no cell is made before it is looked at.
void ScreenTemplate1VC::reloadRows() {
  enteredBeforeReload_ = textFieldsKeyValues;
  toldByRows_.emplace();
  for (std::size_t row = 0; row < viewModel->records.size(); ++row) {
    const CellProperties& record = viewModel->records[row];
    if (!record.key) continue;
    auto told =
        untouchedValue(record.type, valueToShow(record, enteredBeforeReload_), record.props);
    if (told) enter(std::move(*told), IndexPath{row});
  }
  textFieldsKeyValues.merge(*std::exchange(toldByRows_, std::nullopt));
  mainTableView.reloadData();
}

std::size_t ScreenTemplate1VC::numberOfRows() const {
  return viewModel ? viewModel->records.size() : 0;
}

std::shared_ptr<TableViewCell> ScreenTemplate1VC::cellForRow(IndexPath indexPath) {
  const CellType type = viewModel->records.at(indexPath.row).type;
  const auto cell =
      std::dynamic_pointer_cast<BaseCell>(mainTableView.dequeueReusableCell(cellClassName(type)));
  if (!cell) return std::make_shared<TableViewCell>();
  cell->type = type;
  currentCell(*cell, indexPath);
  return cell;
}

void ScreenTemplate1VC::currentCell(BaseCell& cell, IndexPath indexPath) {
  const CellProperties& row = viewModel->records[indexPath.row];
  const JSON& value = valueToShow(row, enteredBeforeReload_);
  switch (row.type) {
    case CellType::label:
      return as<LabelTableViewCell>(cell).configure(value, row.props);
    case CellType::image:
      return as<ImageTableViewCell>(cell).configure(value, row.kind, row.props, self());
    case CellType::button:
      return configure(as<ButtonTableViewCell>(cell), value);
    case CellType::textField:
      return configure(as<TextFieldTableViewCell>(cell), indexPath, value, row.props);
    case CellType::toggleSwitch:
      return configure(as<ToggleSwitchTableViewCell>(cell), indexPath, value, row.props);
    case CellType::dropdown:
      return configure(as<DropdownTableViewCell>(cell), indexPath, value, row.props);
    case CellType::showPoweredBy:
      return console::print("show powered by...");
  }
}

void ScreenTemplate1VC::configure(ButtonTableViewCell& cell, const JSON& value) {
  cell.delegate = self();
  cell.configure(value);
}

void ScreenTemplate1VC::configure(TextFieldTableViewCell& cell, IndexPath indexPath,
                                  const JSON& value, const std::optional<JSON>& props) {
  cell.delegate = self();
  cell.configure(indexPath, value, props);
}

void ScreenTemplate1VC::configure(ToggleSwitchTableViewCell& cell, IndexPath indexPath,
                                  const JSON& value, const std::optional<JSON>& props) {
  // Its value was taken from the record; told again now, it would undo what came since.
  cell.configure(value, props);
  cell.delegate = self();
  cell.indexPath = indexPath;
}

void ScreenTemplate1VC::configure(DropdownTableViewCell& cell, IndexPath indexPath,
                                  const JSON& value, const std::optional<JSON>& props) {
  console::print("dropdown not implemented yet");
  cell.configure(value, props);
  cell.delegate = self();
  cell.indexPath = indexPath;
  cell.fromViewConroller = self();
}

void ScreenTemplate1VC::buttonPressed() {
  // One request at a time: a second press while the first one's answer is awaited does nothing.
  // Before the screen has loaded there is no button.
  if (!viewModel || isBusy()) return;
  console::print("button is pressed....");
  console::print("textFieldsKeyValues::: ", textFieldsKeyValues, viewModel->secretNames());
  if (const auto key = firstEmptyKey()) return showAlert("Please input " + *key);
  showActivityIndicator();
  sendFrom(viewModel, {.additionalParameter = textFieldsKeyValues});
}

std::optional<std::string> ScreenTemplate1VC::firstEmptyKey() const {
  for (const CellProperties& row : viewModel->records) {
    const JSON* entered = row.key ? textFieldsKeyValues.find(*row.key) : nullptr;
    if (entered && isBlank(*entered)) return row.key;
  }
  return std::nullopt;
}

void ScreenTemplate1VC::textChange(const std::string& text, IndexPath indexPath) {
  enter(text, indexPath);
}

void ScreenTemplate1VC::switchValueChanged(bool val, IndexPath indexPath) {
  enter(val, indexPath);
}

void ScreenTemplate1VC::optionSelected(const std::string& text, IndexPath indexPath) {
  textChange(text, indexPath);
}

void ScreenTemplate1VC::enter(JSON value, IndexPath indexPath) {
  if (indexPath.row >= viewModel->records.size()) fatal("The row is outside the screen's records.");
  const auto& key = viewModel->records[indexPath.row].key;
  if (!key) return;
  if (toldByRows_) {
    toldByRows_->emplace_back(*key, std::move(value));
  } else {
    textFieldsKeyValues.set(*key, std::move(value));
  }
}

}  // namespace veltrane
