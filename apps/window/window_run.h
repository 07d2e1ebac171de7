#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QQuickWindow>
#include <QTimer>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/window/capture_watch.h"
#include "apps/window/exit_report.h"
#include "apps/window/passkey_player.h"
#include "apps/window/pictures.h"
#include "apps/window/script_player.h"
#include "apps/window/window_options.h"
#include "platform/qtquick/flow_presenter.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::window {

/// One flow in a window, from its start to its result, with a line for each thing that happens. The
/// platform is installed before.
class WindowRun final : public QObject {
  Q_OBJECT

 public:
  /// `script`: empty for a flow that a person goes through. `cameraHasEnded`: whether nothing new
  /// comes of the camera any more; null for one that never ends.
  WindowRun(const WindowOptions& options, std::vector<JSON> script,
            std::shared_ptr<const std::atomic<bool>> cameraHasEnded = nullptr);
  ~WindowRun() override;

  /// Runs until the flow has gone, the window is closed or the script ends: the exit status.
  int run();

  /// Ends a run that has no result, and says why; one that has a result ends by it.
  void giveUp(const std::string& why);

 private:
  class Delegate;

  void look(const WindowOptions& options);
  void happened(const PresentationChange& change);
  void completed(ExitReport report);
  void atRest();
  bool isAtRest() const;
  bool handOverIsLoading() const;
  void saveLoading();
  /// Pictures that are still on their way, within reason.
  bool waitsForPictures();
  /// Something may come of the screen on display by itself.
  bool mayGoOnByItself() const;
  void captureSeen(const std::string& name);
  void takePicture();
  void savePicture(const std::string& addition);
  void saveAs(const std::string& name);
  /// A passkey's panel is on display, above the screens.
  qtquick::PasskeyItem* panel() const;
  void panelChanged();
  /// Sees the panel at rest, and has a script go on with it.
  void takePanelPictures(qtquick::PasskeyItem& panel);
  void panelAtRest(qtquick::PasskeyItem& panel);
  /// Goes through a screen that is longer than the window; false once all of it has been shown.
  bool turnPage();
  QQuickItem* listOnDisplay() const;
  void playOn();
  void end(int status);
  static void say(const std::string& line);

  WindowOptions options_;
  const std::shared_ptr<const std::atomic<bool>> cameraHasEnded_;
  QQuickWindow window_;
  std::unique_ptr<qtquick::FlowPresenter> presenter_;
  std::unique_ptr<Pictures> pictures_;
  std::unique_ptr<ScriptPlayer> player_;
  std::unique_ptr<PasskeyPlayer> passkeyPlayer_;
  /// Of the camera screen that came last.
  std::unique_ptr<CaptureWatch> capture_;
  std::shared_ptr<VTFlow> flow_;
  std::optional<ExitReport> report_;
  /// Fires once nothing has moved for a moment.
  QTimer rest_;
  bool newToSee_ = false;
  bool panelIsNew_ = false;
  /// The script has acted on what the last picture shows.
  bool playedSince_ = false;
  bool pictureLost_ = false;
  /// Pages of the screen on display that have been turned; absent: none is left.
  std::optional<int> turned_;
  bool hasShownLoading_ = false;
  bool over_ = false;
  /// Runs while a script that is over waits for the flow.
  QElapsedTimer calm_;
  /// How long the screen on display has been waited for, and how long it has been complete.
  QElapsedTimer waiting_;
  int calmRests_ = 0;
};

}  // namespace veltrane::window
