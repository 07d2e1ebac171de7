#include "platform/qtquick/alert_item.h"

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"

namespace veltrane::qtquick {
namespace {

bool closes(const AlertAction& action) {
  return action.style == AlertActionStyle::cancel;
}

}  // namespace

AlertItem::AlertItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                     const ViewItem* below)
    : ViewItem(std::move(controller), stage), wishes_(stage.themeWishes()) {
  if (below) wishes_.background = below->palette().background;
  if (below) wishes_.text = below->palette().input;
  refresh();
}

AlertController& AlertItem::alert() const {
  return static_cast<AlertController&>(*controller());
}

QString AlertItem::title() const {
  return toQString(alert().title);
}
QString AlertItem::message() const {
  return toQString(alert().message());
}
bool AlertItem::isSheet() const {
  return alert().style() == AlertStyle::actionSheet;
}

QStringList AlertItem::choices() const {
  QStringList titles;
  for (const AlertAction& action : alert().actions()) {
    if (!closes(action)) titles.append(toQString(action.title));
  }
  return titles;
}

QString AlertItem::cancelTitle() const {
  for (const AlertAction& action : alert().actions()) {
    if (closes(action)) return toQString(action.title);
  }
  return {};
}

void AlertItem::choose(int index) {
  const auto& actions = alert().actions();
  for (std::size_t i = 0; i < actions.size(); ++i) {
    if (closes(actions[i]) || index-- > 0) continue;
    return alert().select(i);
  }
}

void AlertItem::cancel() {
  alert().cancel();
}

}  // namespace veltrane::qtquick
