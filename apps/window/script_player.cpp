#include "apps/window/script_player.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <utility>

#include "apps/window/gestures.h"
#include "apps/window/sheet_player.h"
#include "platform/qtquick/alert_item.h"
#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/screen_items.h"

namespace veltrane::window {
namespace {

/// A list that settles takes a press for itself, and a user would press again.
constexpr int kTries = 10;
constexpr const char* kNoSuchRow = "there is no such row";

std::string rowName(const JSON& command) {
  const auto key = command["key"].text();
  return key ? std::string(*key) : "row " + command["row"].asText();
}

QObject* call(QQuickItem& item, const char* function, int argument) {
  QVariant result;
  QMetaObject::invokeMethod(&item, function, Q_RETURN_ARG(QVariant, result),
                            Q_ARG(QVariant, QVariant(argument)));
  return result.value<QObject*>();
}

}  // namespace

ScriptPlayer::ScriptPlayer(qtquick::FlowStage& stage, QQuickWindow& window,
                           std::vector<JSON> commands, Say say)
    : stage_(stage), window_(window), say_(std::move(say)) {
  for (const JSON& command : commands) {
    steps_.push_back({command["do"].textValue(), stepFor(command)});
  }
}

bool ScriptPlayer::isAboutToPress() const {
  return !steps_.empty() && steps_.front().name == "press";
}

std::optional<std::string> ScriptPlayer::playNext() {
  const auto step = std::move(steps_.front());
  steps_.pop_front();
  auto refusal = step.run();
  if (refusal) steps_.clear();
  return refusal;
}

ScriptPlayer::Step ScriptPlayer::stepFor(const JSON& command) {
  const auto name = command["do"].textValue();
  if (name == "input") return [this, command] { return input(command); };
  if (name == "toggle") return [this, command] { return toggle(command); };
  if (name == "choose") return [this, command] { return choose(command); };
  if (name == "select") return [this, command] { return select(command); };
  if (name == "press") return [this, command] { return press(command, kTries); };
  if (name == "dismissAlert") return [this] { return dismissAlert(); };
  if (name == "back") return [this] { return clickNamed("backButton"); };
  if (name == "retry") return [this] { return clickNamed("retryButton"); };
  if (name == "sdk") {
    const auto player = std::make_shared<SheetPlayer>(stage_, window_, command["outcome"], say_);
    return [this, player] { return handOver(player); };
  }
  return [this] { return clickNamed("cancelButton"); };
}

// Again and again until the vendor's page has had its say. What it shows on the way is worth a
// picture, as before a press.
ScriptPlayer::Refusal ScriptPlayer::handOver(const std::shared_ptr<SheetPlayer>& player) {
  SheetPlayer::State state{};
  auto refusal = player->play(state);
  if (!refusal && state != SheetPlayer::State::done) {
    const char* const name = state == SheetPlayer::State::looks ? "press" : "sdk";
    steps_.push_front({name, [this, player] { return handOver(player); }});
  }
  return refusal;
}

ScriptPlayer::Refusal ScriptPlayer::input(const JSON& command) {
  const int row = rowOf(command);
  QQuickItem* field = control(row, "TextFieldTableViewCell");
  if (!field) return kNoSuchRow;
  const auto text = command["text"].textValue();
  if (auto refusal = retype(*field, text)) return refusal;
  const bool secure = field->property("echoMode").toInt() != 0;
  say_("typed    " + (secure ? std::string("a secret") : '"' + text + '"') + " into " +
       rowName(command));
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::retype(QQuickItem& field, const std::string& text) {
  click(field);
  if (window_.activeFocusItem() != &field) return "a click does not reach the field";
  pressKey(window_, Qt::Key_A, Qt::ControlModifier);
  pressKey(window_, Qt::Key_Delete);
  type(window_, qtquick::toQString(text));
  if (field.property("text").toString() != qtquick::toQString(text))
    return "the field does not take the text";
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::toggle(const JSON& command) {
  QQuickItem* item = control(rowOf(command), "ToggleSwitchTableViewCell");
  if (!item) return kNoSuchRow;
  const int row = rowOf(command);
  const auto index = screen()->rows()->index(row);
  const auto* cell = qobject_cast<qtquick::ToggleSwitchCell*>(
      screen()->rows()->data(index, qtquick::RowModel::CellRole).value<QObject*>());
  const bool on = command["on"].boolean().value_or(true);
  if (cell && cell->isOn() != on) click(*item);
  say_("switched " + rowName(command) + (on ? " on" : " off"));
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::choose(const JSON& command) {
  QQuickItem* item = control(rowOf(command), "DropdownTableViewCell");
  if (!item) return kNoSuchRow;
  click(*item);
  say_("opened   " + rowName(command));
  const auto option = command["option"].textValue();
  steps_.push_front({"pick", [this, option] { return pick(option); }});
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::pick(const std::string& option) {
  const auto* sheet = qobject_cast<qtquick::AlertItem*>(stage_.activeView());
  if (!sheet || !sheet->isSheet()) return "no sheet of choices has opened";
  say_("picked   " + option);
  if (qtquick::toQString(option) == sheet->cancelTitle()) return clickNamed("sheetDismiss");
  const int row = sheet->actions()->find(qtquick::toQString(option));
  QQuickItem* sheetItem = named("actionSheet");
  if (row < 0 || !sheetItem) return "there is no such choice";
  auto* action = qobject_cast<QQuickItem*>(call(*sheetItem, "actionAt", row));
  if (!action) return "the choice cannot be seen";
  click(*action);
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::select(const JSON& command) {
  QQuickItem* item = control(rowOf(command), "MFATableViewCell");
  if (!item) return kNoSuchRow;
  say_("selected " + rowName(command));
  click(*item);
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::press(const JSON& command, int tries) {
  if (!screen()) return "no screen with a button is on display";
  const int row = command.contains("row") ? rowOf(command)
                                          : screen()->rows()->rowOfClass("ButtonTableViewCell");
  QQuickItem* button = control(row, "ButtonTableViewCell");
  if (!button) return "there is no such button";
  const auto text = button->property("text").toString().toStdString();
  if (clickButton(*button)) {
    say_("pressed  " + text);
  } else if (tries > 1) {
    steps_.push_front(
        {"press again", [this, command, tries] { return press(command, tries - 1); }});
  } else {
    return "the button does not take a press";
  }
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::clickNamed(const char* name) {
  QQuickItem* item = named(name);
  if (!item) return "there is nothing of that kind to press";
  say_("pressed  " + item->property("text").toString().toStdString());
  click(*item);
  return std::nullopt;
}

ScriptPlayer::Refusal ScriptPlayer::dismissAlert() {
  return clickNamed(named("alertAction") ? "alertAction" : "sheetDismiss");
}

qtquick::ListScreenItem* ScriptPlayer::screen() const {
  return qobject_cast<qtquick::ListScreenItem*>(stage_.activeView());
}

int ScriptPlayer::rowOf(const JSON& command) const {
  if (!screen()) return -1;
  if (const auto key = command["key"].text()) return screen()->rows()->rowOfKey(std::string(*key));
  return static_cast<int>(command["row"].integer().value_or(-1));
}

QQuickItem* ScriptPlayer::control(int row, const char* className) const {
  if (!screen() || screen()->rows()->cellClass(row) != QLatin1String(className)) return nullptr;
  QQuickItem* list = named("rows");
  return list ? qobject_cast<QQuickItem*>(call(*list, "controlAt", row)) : nullptr;
}

QQuickItem* ScriptPlayer::named(const char* name) const {
  const auto* view = stage_.activeView();
  return view ? findItem(view->content(), QString::fromLatin1(name)) : nullptr;
}

}  // namespace veltrane::window
