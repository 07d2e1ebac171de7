#include "platform/qtquick/row_model.h"

#include <QQmlEngine>
#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "platform/qtquick/convert.h"

namespace veltrane::qtquick {
namespace {

constexpr const char* kButton = "ButtonTableViewCell";
constexpr const char* kTextField = "TextFieldTableViewCell";
constexpr const char* kDropdown = "DropdownTableViewCell";

std::size_t hashOf(std::optional<std::string_view> key) {
  return key ? std::hash<std::string_view>()(*key) : 0;
}

}  // namespace

RowModel::RowModel(TableView& table, Identify identify, Cell::PaletteSource palette,
                   QObject* screen)
    : table_(table), identify_(std::move(identify)), palette_(std::move(palette)), screen_(screen) {
  reload();
  reloaded_ = table_.reloaded.subscribe([this] { reload(); });
}

RowModel::~RowModel() = default;

int RowModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant RowModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const auto row = static_cast<std::size_t>(index.row());
  Row& entry = rows_[row];
  if (role == CellClassRole) return toQString(entry.name.className);
  if (role == ScreenRole) return QVariant::fromValue<QObject*>(screen_);
  if (role != CellRole) return {};
  if (!entry.item) {
    // In the middle of a reload the table may be ahead of the rows shown here.
    if (row >= table_.numberOfRows()) return {};
    if (table_.cell(row)->className() != entry.name.className) return {};
    entry.item = makeCell(entry.name.className, palette_);
    QQmlEngine::setObjectOwnership(entry.item.get(), QQmlEngine::CppOwnership);
    entry.item->attach(table_.cell(row));
  }
  return QVariant::fromValue<QObject*>(entry.item.get());
}

QHash<int, QByteArray> RowModel::roleNames() const {
  return {{CellClassRole, "cellClass"}, {CellRole, "cell"}, {ScreenRole, "screen"}};
}

int RowModel::nextFocusRow(int row, int step) const {
  for (int next = row + step; next >= 0 && next < rowCount(); next += step) {
    if (takesFocus(rows_[static_cast<std::size_t>(next)].name.className)) return next;
  }
  return -1;
}

int RowModel::nextOpenField(int row) const {
  for (int next = row + 1; next < rowCount(); ++next) {
    if (isOpenField(static_cast<std::size_t>(next))) return next;
  }
  return -1;
}

bool RowModel::isOpenField(std::size_t row) const {
  const auto className = rows_[row].name.className;
  if (className == kTextField) return true;
  return className == kDropdown &&
         !static_cast<const DropdownTableViewCell&>(*table_.cell(row)).hasChoice;
}

void RowModel::pressButton(int row) {
  const int count = rowCount();
  for (int step = 1; step <= count; ++step) {
    const auto next = static_cast<std::size_t>((row + step) % count);
    if (rows_[next].name.className != kButton) continue;
    const auto cell = std::static_pointer_cast<ButtonTableViewCell>(table_.cell(next));
    return cell->buttonPressed();
  }
}

QString RowModel::cellClass(int row) const {
  if (row < 0 || row >= rowCount()) return {};
  return toQString(rows_[static_cast<std::size_t>(row)].name.className);
}

int RowModel::rowOfKey(const std::string& key) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(), [hash = hashOf(key)](const Row& row) {
    return row.name.keyHash == hash;
  });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int RowModel::rowOfClass(const std::string& className) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(),
                                  [&](const Row& row) { return row.name.className == className; });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

bool RowModel::isLoading() const {
  return std::any_of(rows_.begin(), rows_.end(),
                     [](const Row& row) { return row.item && row.item->isLoading(); });
}

void RowModel::refresh() {
  for (const Row& row : rows_) {
    if (row.item) emit row.item->changed();
  }
}

RowModel::Name RowModel::nameOf(std::size_t row) const {
  const RowIdentity identity = identify_(row);
  return {identity.className, hashOf(identity.key)};
}

std::vector<RowModel::Name> RowModel::names() const {
  std::vector<Name> names;
  names.reserve(table_.numberOfRows());
  for (std::size_t row = 0; row < table_.numberOfRows(); ++row) names.push_back(nameOf(row));
  return names;
}

// A screen that opens has nothing to keep.
void RowModel::fill() {
  const std::size_t count = table_.numberOfRows();
  if (count == 0) return;
  beginInsertRows({}, 0, static_cast<int>(count) - 1);
  rows_.reserve(count);
  for (std::size_t row = 0; row < count; ++row) rows_.push_back({nameOf(row), nullptr});
  endInsertRows();
}

// Walks both lists once: a row that is wanted later stays, the others give way.
void RowModel::reload() {
  if (rows_.empty()) return fill();
  const auto wanted = names();
  std::map<Name, int> ahead;
  for (const Name& name : wanted) ++ahead[name];
  const auto isWanted = [&](std::size_t row) {
    const auto found = ahead.find(rows_[row].name);
    return found != ahead.end() && found->second > 0;
  };
  std::size_t at = 0;
  while (at < wanted.size()) {
    if (at < rows_.size() && rows_[at].name == wanted[at]) {
      --ahead[wanted[at++]];
      continue;
    }
    std::size_t stale = at;
    while (stale < rows_.size() && !isWanted(stale)) ++stale;
    if (stale > at) {
      removeRun(at, stale - at);
      continue;
    }
    std::size_t end = at;
    while (end < wanted.size() && (at >= rows_.size() || rows_[at].name != wanted[end])) {
      --ahead[wanted[end++]];
    }
    insertRun(at, wanted, at, end - at);
    at = end;
  }
  if (rows_.size() > at) removeRun(at, rows_.size() - at);
  rebind();
}

void RowModel::removeRun(std::size_t first, std::size_t count) {
  const auto begin = rows_.begin() + static_cast<std::ptrdiff_t>(first);
  const auto end = begin + static_cast<std::ptrdiff_t>(count);
  beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
  for (auto row = begin; row != end; ++row) {
    if (!row->item) continue;
    row->item->detach();
    retired_.push_back(std::move(row->item));
  }
  rows_.erase(begin, end);
  endRemoveRows();
}

void RowModel::insertRun(std::size_t first, const std::vector<Name>& from, std::size_t begin,
                         std::size_t count) {
  std::vector<Row> added(count);
  for (std::size_t i = 0; i < count; ++i) added[i].name = from[begin + i];
  beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
  rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(first),
               std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
  endInsertRows();
}

void RowModel::rebind() {
  for (std::size_t row = 0; row < rows_.size(); ++row) {
    if (rows_[row].item) rows_[row].item->attach(table_.cell(row));
  }
}

}  // namespace veltrane::qtquick
