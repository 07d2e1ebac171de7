#include "platform/qtquick/alert_item.h"

#include <algorithm>
#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/words.h"

namespace veltrane::qtquick {
namespace {

bool closes(const AlertAction& action) {
  return action.style == AlertActionStyle::cancel;
}

}  // namespace

AlertActions::AlertActions(std::vector<Action> actions, AlertItem& alert)
    : actions_(std::move(actions)), alert_(alert) {}

int AlertActions::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(actions_.size());
}

QVariant AlertActions::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const Action& action = actions_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case TitleRole:
      return action.title;
    case NumberRole:
      return index.row();
    case ClosesRole:
      return action.closes;
    case ViewRole:
      return QVariant::fromValue<QObject*>(&alert_);
    default:
      return {};
  }
}

QHash<int, QByteArray> AlertActions::roleNames() const {
  return {{TitleRole, "title"}, {NumberRole, "number"}, {ClosesRole, "closes"}, {ViewRole, "view"}};
}

int AlertActions::find(const QString& title) const {
  const auto found = std::find_if(actions_.begin(), actions_.end(),
                                  [&](const Action& action) { return action.title == title; });
  return found == actions_.end() ? -1 : static_cast<int>(found - actions_.begin());
}

AlertItem::AlertItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                     const ViewItem* below)
    : ViewItem(std::move(controller), stage), wishes_(stage.themeWishes()) {
  if (below) wishes_.background = below->palette().surface;
  if (below) wishes_.text = below->palette().input;
  std::vector<AlertActions::Action> actions;
  for (const AlertAction& action : alert().actions()) {
    // A sheet's choices are the server's, an alert's actions our own.
    const QString title = isSheet() ? toQString(action.title) : translated(action.title);
    if (!closes(action)) actions.push_back({title, false});
  }
  if (!isSheet() && !cancelTitle().isEmpty()) actions.push_back({cancelTitle(), true});
  actions_ = std::make_unique<AlertActions>(std::move(actions), *this);
  refresh();
}

AlertController& AlertItem::alert() const {
  return static_cast<AlertController&>(*controller());
}

QString AlertItem::title() const {
  return translated(alert().title);
}
QString AlertItem::message() const {
  return translated(alert().message());
}
bool AlertItem::isSheet() const {
  return alert().style() == AlertStyle::actionSheet;
}

QString AlertItem::cancelTitle() const {
  for (const AlertAction& action : alert().actions()) {
    if (closes(action)) return translated(action.title);
  }
  return {};
}

void AlertItem::choose(int number) {
  const auto& actions = alert().actions();
  for (std::size_t i = 0; i < actions.size(); ++i) {
    if (closes(actions[i]) || number-- > 0) continue;
    return alert().select(i);
  }
}

void AlertItem::cancel() {
  alert().cancel();
}

}  // namespace veltrane::qtquick
