#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/vtflow/drive/command.h"
#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/drive/line_reader.h"
#include "apps/vtflow/drive/line_writer.h"
#include "apps/vtflow/drive/stage.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::tool {

/// What is under way outside the session's sight. Main thread.
struct Activity {
  /// A call to the server is on its way.
  std::function<bool()> isCalling;
  /// Work is queued on the main queue, for now or for later.
  std::function<bool()> hasQueuedWork;
  /// The camera still has something to show that it has not shown yet.
  std::function<bool()> hasMoreToShow;
};

/// One run of the driver: answers commands in their order when the flow is ready for them, hears
/// the outcome, and decides when the run is over. Main thread only.
class Session final : public VeltraneFlowDelegate {
 public:
  /// `over` is called once, with the exit status, after the last line has been written.
  Session(Stage& stage, LineWriter& out, Activity activity, std::function<void(int)> over);

  void linesRead(const std::vector<LineReader::Line>& lines);
  void inputEnded() { inputEnded_ = true; }
  /// Nobody reads the output any more, or the user has had enough.
  void interrupted() { interrupted_ = true; }

  /// Does what can be done now. To be called whenever something has happened and nothing is due.
  void advance();

  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override;

 private:
  bool answerNext();
  bool answer(const Command::Unsound& unsound);
  bool answer(const Command::Act& act);
  bool answer(const Command::Wait& wait);
  bool answer(const Command::Quit& quit);
  bool isBusy() const;
  bool mayAct(const Command::Act& act) const;
  bool hasCome(Awaited awaited) const;
  bool isQuitOverdue();
  bool isOver() const;
  void pop(const Refusal& refusal);
  void refuseAll(const char* why);
  void end();

  Stage& stage_;
  LineWriter& out_;
  const Activity activity_;
  const std::function<void(int)> over_;
  std::deque<Command> commands_;
  /// Since when the first command has been waiting; absent while it has not had to.
  std::optional<std::chrono::steady_clock::time_point> waitingSince_;
  /// Looks again whether a quit behind it has waited long enough.
  std::unique_ptr<Timer> patience_;
  /// Runs while the first command is a wait.
  std::unique_ptr<Timer> waitTimer_;
  bool waitedLongEnough_ = false;
  bool inputEnded_ = false;
  bool interrupted_ = false;
  bool ended_ = false;
  std::optional<int> result_;
};

}  // namespace veltrane::tool
