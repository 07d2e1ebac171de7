#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/vtflow/drive/hand_over/hand_overs.h"
#include "apps/vtflow/drive/line_writer.h"
#include "apps/vtflow/drive/screens/screen_adapter.h"
#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::tool {

/// What the user has before them: follows the presentation under a host's controller and writes the
/// "screen", "row", "loading", "alert" and "dismissed" events, each as it happens. Main thread
/// only.
class Stage {
 public:
  Stage(std::shared_ptr<HostViewController> host, LineWriter& out,
        std::shared_ptr<HandOvers> handOvers);

  /// Null while no flow is presented.
  ScreenAdapter* screenOnDisplay();
  /// The message box over the screen; null when there is none.
  std::shared_ptr<AlertController> alertOnDisplay() const;
  /// The identity SDKs that the user has before them.
  HandOvers& handOvers() const { return *handOvers_; }
  bool isFlowPresented() const { return host_->presentedViewController() != nullptr; }
  /// Something goes on behind a screen of the flow, on display or under another, that will change
  /// it.
  bool isWorking() const;
  /// A screen of the flow looks at what its camera shows.
  bool isWatching() const;
  /// A flow was presented and has been dismissed since, and this has been told.
  bool wasDismissed() const { return dismissed_; }

  /// Whether a "screen" event other than a start screen's or a snapshot's has been written since
  /// the last `beginAct`.
  bool hasNewScreen() const { return newScreen_; }
  /// Forgets new screens; the answer brings them back to mind should the act be refused.
  bool beginAct() { return std::exchange(newScreen_, false); }
  void undoBeginAct(bool hadNewScreen) { newScreen_ = newScreen_ || hadNewScreen; }

  /// Writes the screen on display as it is now; false when there is none.
  bool writeSnapshot();

 private:
  struct Entry {
    std::int64_t number;
    std::unique_ptr<ScreenAdapter> adapter;
  };

  void presentationChanged(const PresentationChange& change);
  void left(const std::shared_ptr<ViewController>& controller);
  std::shared_ptr<ViewController> front(bool alertsToo) const;
  Entry& entryOf(const std::shared_ptr<ViewController>& controller);
  ScreenListener listenerFor(std::int64_t number, std::weak_ptr<ViewController> controller);
  void writeScreen(Entry& entry, std::string_view how);
  void writeAlert(const AlertController& alert);
  void writeLoading();

  std::shared_ptr<HostViewController> host_;
  LineWriter& out_;
  std::shared_ptr<HandOvers> handOvers_;
  std::vector<Entry> entries_;
  std::int64_t lastNumber_ = 0;
  bool loadingTold_ = false;
  bool newScreen_ = false;
  bool dismissed_ = false;
  Subscription changes_;
};

}  // namespace veltrane::tool
