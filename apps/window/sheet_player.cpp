#include "apps/window/sheet_player.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <utility>

#include "apps/window/gestures.h"
#include "platform/qtquick/alert_item.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/hand_over_item.h"

namespace veltrane::window {
namespace {

/// Milliseconds that a page may take to answer a press, before it is pressed again.
constexpr int kAnswer = 1'500;
constexpr int kMostActs = 20;
/// Within the page, where nothing is to press.
constexpr double kCorner = 4;
/// On the page of a scan or a check "Use the camera" stands before "Finish".
constexpr int kCamera = 1;
constexpr int kFinish = 2;

bool isFinish(const JSON& outcome) {
  return outcome["netverify"].text() == "finish" || outcome["authentication"].text() == "finish";
}

bool isSuccess(const JSON& outcome) {
  return outcome["onfido"].text() == "success";
}

}  // namespace

SheetPlayer::SheetPlayer(qtquick::FlowStage& stage, QQuickWindow& window, JSON outcome, Say say)
    : stage_(stage),
      window_(window),
      outcome_(std::move(outcome)),
      say_(std::move(say)),
      wantsCamera_(isFinish(outcome_)) {}

std::optional<std::string> SheetPlayer::play(State& state) {
  state = State::goesOn;
  // A face check that is ready is one whose sheet is there.
  const bool isReady = outcome_["authentication"].text() == "ready";
  if (auto* const alert = qobject_cast<qtquick::AlertItem*>(stage_.activeView()); alert && acts_) {
    if (QQuickItem* const action = findItem(alert->content(), QStringLiteral("alertAction"))) {
      allowCamera(*action);
      return std::nullopt;
    }
  }
  auto* const view = qobject_cast<qtquick::HandOverItem*>(stage_.activeView());
  if (!view && acts_ == 0) return "no page of an identity vendor is on display";
  if (!view || isReady) {
    state = State::done;
    return std::nullopt;
  }
  if (view->body()->property("state").toInt() == 2) {
    return "the page has not come: " + view->body()->property("message").toString().toStdString();
  }
  if (!isDue()) return std::nullopt;
  if (++acts_ > kMostActs) return "the page does not take a press";
  return playOn(*view, state);
}

bool SheetPlayer::isDue() {
  if (lastAct_.isValid() && !lastAct_.hasExpired(kAnswer)) return false;
  lastAct_.start();
  return true;
}

SheetPlayer::Refusal SheetPlayer::playOn(qtquick::HandOverItem& view, State& state) {
  if (!isFinish(outcome_) && !isSuccess(outcome_)) {
    say_("pressed  Cancel");
    view.cancel();
    return std::nullopt;
  }
  QQuickItem* const page = findItem(view.content(), QStringLiteral("webView"));
  if (!page) return "there is no browser";
  if (wantsCamera_) {
    wantsCamera_ = false;
    pressControl(*page, kCamera);
    return std::nullopt;
  }
  // What an act has led to is looked at before the next: what the camera shows, another step.
  if (std::exchange(hasActed_, false)) {
    state = State::looks;
    return std::nullopt;
  }
  say_("pressed  on the vendor's page");
  pressControl(*page, isFinish(outcome_) ? kFinish : 1);
  return std::nullopt;
}

void SheetPlayer::allowCamera(QQuickItem& action) {
  say_("pressed  " + action.property("text").toString().toStdString());
  click(action);
  lastAct_.start();
}

void SheetPlayer::pressControl(QQuickItem& page, int number) {
  hasActed_ = true;
  clickAt(page, {kCorner, kCorner});
  for (int i = 0; i < number; ++i) pressKey(window_, Qt::Key_Tab);
  pressKey(window_, Qt::Key_Return);
}

}  // namespace veltrane::window
