#include "apps/vtflow/drive/session.h"

#include <algorithm>
#include <utility>

namespace veltrane::tool {
namespace {

using Clock = std::chrono::steady_clock;

/// A command that has waited this long is not one that the next answer carries out.
constexpr std::chrono::seconds kPatience{3};
constexpr MainQueue::Interval kLookAgain{100};

JSON nameValue(const Command& command) {
  return textValue(command.name);
}

JSON errorValue(const VeltraneFlowError& error) {
  const auto& status = error.httpResponseCode;
  return Dictionary{{"reason", JSON(error.reasonName())},
                    {"description", textValue(error.errorDescription())},
                    {"message", textValue(error.message)},
                    {"code", textValue(error.code)},
                    {"httpResponseCode", status ? JSON(*status) : JSON()},
                    {"details", error.details.value_or(JSON())}};
}

int statusOf(const std::optional<VeltraneFlowError>& error) {
  if (!error) return exit_status::kResponse;
  return error->isUserCancelled() ? exit_status::kUserCancelled : exit_status::kError;
}

}  // namespace

Session::Session(Stage& stage, LineWriter& out, Activity activity, std::function<void(int)> over)
    : stage_(stage), out_(out), activity_(std::move(activity)), over_(std::move(over)) {}

void Session::linesRead(const std::vector<LineReader::Line>& lines) {
  if (ended_) return;
  for (const auto& line : lines) commands_.push_back(Command::parse(line));
}

void Session::flowDidComplete(const std::optional<JSON>& response,
                              const std::optional<VeltraneFlowError>& error) {
  result_ = statusOf(error);
  out_.write(Event("result")
                 .set("response", response.value_or(JSON()))
                 .set("error", error ? errorValue(*error) : JSON()));
}

void Session::advance() {
  if (ended_) return;
  while (!commands_.empty() && answerNext()) {
  }
  if (!ended_ && isQuitOverdue()) {
    // Whatever the run waits for, it waits no longer.
    while (!std::holds_alternative<Command::Quit>(commands_.front().what)) {
      pop("the run was ended before");
    }
    answerNext();
  }
  if (!ended_ && isOver()) end();
}

/// False when the first command has to wait, or the run has ended.
bool Session::answerNext() {
  const auto what = commands_.front().what;
  return std::visit([this](const auto& command) { return answer(command); }, what);
}

bool Session::answer(const Command::Unsound& unsound) {
  pop(unsound.why);
  return true;
}

bool Session::answer(const Command::Act& act) {
  if (!mayAct(act)) return false;
  if (!act.overAlert && stage_.alertOnDisplay()) {
    pop("an alert is on display");
    return true;
  }
  const bool hadNewScreen = act.looksOnly ? false : stage_.beginAct();
  const auto refusal = act.act(stage_);
  if (refusal) stage_.undoBeginAct(hadNewScreen);
  pop(refusal);
  return true;
}

bool Session::answer(const Command::Wait& wait) {
  if (!waitTimer_) {
    waitedLongEnough_ = wait.timeout.count() == 0;
    waitTimer_ =
        MainQueue::current().repeatingTimer(wait.timeout, [this] { waitedLongEnough_ = true; });
  }
  const bool come = hasCome(wait.awaited);
  if (!come && !waitedLongEnough_) return false;
  waitTimer_.reset();
  pop(come ? Refusal() : "it has not come in time");
  return true;
}

bool Session::answer(const Command::Quit&) {
  pop(std::nullopt);
  end();
  return false;
}

// An answer queues its work before its call ends: asked in this order, nothing slips between.
bool Session::isBusy() const {
  return activity_.isCalling() || activity_.hasQueuedWork();
}

bool Session::mayAct(const Command::Act& act) const {
  if (!isBusy()) return true;
  const auto* const screen = stage_.screenOnDisplay();
  return act.onStartScreen && screen && screen->isStartScreen() && !activity_.hasQueuedWork();
}

bool Session::hasCome(Awaited awaited) const {
  switch (awaited) {
    case Awaited::idle:
      return !isBusy();
    case Awaited::screen:
      return stage_.hasNewScreen();
    case Awaited::result:
      return result_.has_value();
  }
  return false;
}

// A script is carried out in its order, its quit included, as long as it gets on. When a command
// hangs, the quit behind it ends the run.
bool Session::isQuitOverdue() {
  const auto isQuit = [](const Command& command) {
    return std::holds_alternative<Command::Quit>(command.what);
  };
  if (commands_.empty()) return false;
  if (!waitingSince_) waitingSince_ = Clock::now();
  if (std::none_of(commands_.begin(), commands_.end(), isQuit)) return false;
  if (Clock::now() - *waitingSince_ >= kPatience) return true;
  if (!patience_) patience_ = MainQueue::current().repeatingTimer(kLookAgain, [] {});
  return false;
}

bool Session::isOver() const {
  if (interrupted_ || (result_ && stage_.wasDismissed())) return true;
  if (isBusy()) return false;
  if (!stage_.isFlowPresented()) return true;
  if (!inputEnded_ || !commands_.empty() || stage_.isWorking()) return false;
  return !(stage_.isWatching() && activity_.hasMoreToShow());
}

void Session::pop(const Refusal& refusal) {
  const auto name = nameValue(commands_.front());
  commands_.pop_front();
  waitingSince_.reset();
  patience_.reset();
  if (refusal) {
    out_.write(Event("refused").set("do", name).set("why", textValue(refusal)));
  } else {
    out_.write(Event("done").set("do", name));
  }
}

void Session::refuseAll(const char* why) {
  while (!commands_.empty()) pop(why);
}

void Session::end() {
  ended_ = true;
  waitTimer_.reset();
  patience_.reset();
  refuseAll("the run has ended");
  const auto status = result_.value_or(exit_status::kNoResult);
  out_.close(Event("bye").set("exit", JSON(status)));
  over_(status);
}

}  // namespace veltrane::tool
