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
  if (role == CellClassRole) return toQString(entry.identity.className);
  if (role == ScreenRole) return QVariant::fromValue<QObject*>(screen_);
  if (role != CellRole) return {};
  if (!entry.item) {
    // In the middle of a reload the table may be ahead of the rows shown here.
    if (row >= table_.numberOfRows()) return {};
    if (table_.cell(row)->className() != entry.identity.className) return {};
    entry.item = makeCell(entry.identity.className, palette_);
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
    if (takesFocus(rows_[static_cast<std::size_t>(next)].identity.className)) return next;
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
  const std::string& className = rows_[row].identity.className;
  if (className == kTextField) return true;
  return className == kDropdown &&
         !static_cast<const DropdownTableViewCell&>(*table_.cell(row)).hasChoice;
}

void RowModel::pressButton(int row) {
  const int count = rowCount();
  for (int step = 1; step <= count; ++step) {
    const auto next = static_cast<std::size_t>((row + step) % count);
    if (rows_[next].identity.className != kButton) continue;
    const auto cell = std::static_pointer_cast<ButtonTableViewCell>(table_.cell(next));
    return cell->buttonPressed();
  }
}

QString RowModel::cellClass(int row) const {
  if (row < 0 || row >= rowCount()) return {};
  return toQString(rows_[static_cast<std::size_t>(row)].identity.className);
}

int RowModel::rowOfKey(const std::string& key) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(),
                                  [&](const Row& row) { return row.identity.key == key; });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int RowModel::rowOfClass(const std::string& className) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) {
    return row.identity.className == className;
  });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

void RowModel::refresh() {
  for (const Row& row : rows_) {
    if (row.item) emit row.item->changed();
  }
}

std::vector<RowIdentity> RowModel::identities() const {
  std::vector<RowIdentity> rows;
  rows.reserve(table_.numberOfRows());
  for (std::size_t row = 0; row < table_.numberOfRows(); ++row) rows.push_back(identify_(row));
  return rows;
}

// Walks both lists once: a row that is wanted later stays, the others give way.
void RowModel::reload() {
  const auto wanted = identities();
  if (rows_.empty()) {
    // A screen that opens has nothing to keep.
    if (!wanted.empty()) insertRun(0, wanted, 0, wanted.size());
    return rebind();
  }
  std::map<RowIdentity, int> ahead;
  for (const auto& identity : wanted) ++ahead[identity];
  const auto isWanted = [&](std::size_t row) {
    const auto found = ahead.find(rows_[row].identity);
    return found != ahead.end() && found->second > 0;
  };
  std::size_t at = 0;
  while (at < wanted.size()) {
    if (at < rows_.size() && rows_[at].identity == wanted[at]) {
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
    while (end < wanted.size() && (at >= rows_.size() || rows_[at].identity != wanted[end])) {
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

void RowModel::insertRun(std::size_t first, const std::vector<RowIdentity>& from, std::size_t begin,
                         std::size_t count) {
  std::vector<Row> added;
  added.reserve(count);
  for (std::size_t i = 0; i < count; ++i) added.push_back({from[begin + i], nullptr});
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
