#include "apps/window/window_run.h"

#include <QGuiApplication>
#include <iostream>
#include <utility>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/window/gestures.h"
#include "platform/qtquick/alert_item.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/hand_over_item.h"
#include "platform/qtquick/passkey_item.h"
#include "platform/qtquick/screen_items.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::window {
namespace {

namespace exit_status = tool::exit_status;
using qtquick::FlowStage;

constexpr std::chrono::milliseconds kRest{80};
/// Pictures that take longer are left out of the picture of their screen.
constexpr int kPatience = 10'000;
/// A wait that a user would notice.
constexpr int kNoticeable = 400;
/// Enough for every form; a list of thousands has more of the same.
constexpr int kMostPages = 12;
/// Milliseconds without anything new before a script that is over is the end of the run.
constexpr int kLastWait = 1'500;
/// Rests that a picture needs to come in after it has arrived.
constexpr int kComingIn = 4;

std::string nameOf(const ViewController& controller) {
  const auto& item = controller.navigationItem.title;
  if (item && !item->empty()) return *item;
  if (controller.title && !controller.title->empty()) return *controller.title;
  return std::string(controller.className());
}

std::string alertLine(const AlertController& alert) {
  std::string line = alert.style() == AlertStyle::alert ? "alert    " : "sheet    ";
  if (alert.title) line += *alert.title + ": ";
  line += alert.message().value_or("");
  for (const auto& action : alert.actions()) line += " [" + action.title + "]";
  return line;
}

}  // namespace

class WindowRun::Delegate final : public VeltraneFlowDelegate {
 public:
  explicit Delegate(WindowRun& run) : run_(run) {}

  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override {
    run_.completed(error ? reportOf(*error) : reportOf(response.value_or(JSON())));
  }

 private:
  WindowRun& run_;
};

WindowRun::WindowRun(const WindowOptions& options, std::vector<JSON> script,
                     std::shared_ptr<const std::atomic<bool>> cameraHasEnded)
    : options_(options), cameraHasEnded_(std::move(cameraHasEnded)) {
  window_.setTitle(QStringLiteral("Veltrane Flow"));
  window_.resize(options.size);
  presenter_ = std::make_unique<qtquick::FlowPresenter>(&window_);
  look(options);
  if (options.pictures) pictures_ = std::make_unique<Pictures>(*options.pictures);
  FlowStage& stage = presenter_->stage();
  if (options.script) {
    player_ = std::make_unique<ScriptPlayer>(stage, window_, std::move(script), say);
    passkeyPlayer_ = std::make_unique<PasskeyPlayer>(window_, say);
  }
  rest_.setSingleShot(true);
  rest_.setInterval(kRest);
  QGuiApplication::setQuitOnLastWindowClosed(false);
  connect(&window_, &QWindow::visibleChanged, this, [this](bool visible) {
    if (!visible) giveUp("the window was closed");
  });
  connect(&rest_, &QTimer::timeout, this, &WindowRun::atRest);
  connect(&stage, &FlowStage::presentationChanged, this, &WindowRun::happened);
  connect(&stage, &FlowStage::settled, this, [this] { rest_.start(); });
  connect(presenter_.get(), &qtquick::FlowPresenter::passkeyChanged, this,
          &WindowRun::panelChanged);
}

WindowRun::~WindowRun() {
  // The window goes after everything that its last signal would touch.
  window_.disconnect(this);
  presenter_->disconnect(this);
  presenter_->stage().disconnect(this);
}

void WindowRun::look(const WindowOptions& options) {
  FlowStage& stage = presenter_->stage();
  if (options.dark) stage.setDark(true);
  if (options.rightToLeft) stage.setMirrored(true);
  if (options.textScale) stage.setTextScale(*options.textScale);
  window_.setColor(stage.isDark() ? QColor("#0b0d10") : QColor("#e8ecf2"));
}

int WindowRun::run() {
  window_.show();
  window_.requestActivate();
  flow_ = VTFlow::make(options_.flow.arguments());
  flow_->delegate = std::make_shared<Delegate>(*this);
  tool::runFlow(*flow_, options_.flow, presenter_->hostViewController());
  rest_.start();
  const int status = QCoreApplication::exec();
  flow_->delegate.reset();
  return status;
}

void WindowRun::say(const std::string& line) {
  std::cout << line << std::endl;
}

void WindowRun::happened(const PresentationChange& change) {
  calm_.invalidate();
  rest_.start();
  if (const auto* alert = dynamic_cast<const AlertController*>(change.controller.get())) {
    if (change.transition == Transition::alert) say(alertLine(*alert));
    newToSee_ = newToSee_ || change.transition == Transition::alert;
    return;
  }
  if (change.transition == Transition::dismissed) return;
  newToSee_ = true;
  turned_ = 0;
  hasShownLoading_ = false;
  waiting_.invalidate();
  capture_ =
      CaptureWatch::make(change.controller, [this](const std::string& name) { captureSeen(name); });
  // It goes as soon as a face is taken: whatever fades would not be there yet.
  if (capture_ && pictures_) presenter_->stage().setReducedMotion(true);
  const char* how = change.transition == Transition::back ? "back to  " : "screen   ";
  say(how + nameOf(*change.controller));
}

void WindowRun::completed(ExitReport report) {
  if (report_) return;
  say(report.line);
  report_ = std::move(report);
  if (!over_) rest_.start();
}

bool WindowRun::isAtRest() const {
  const FlowStage& stage = presenter_->stage();
  const auto* view = stage.activeView();
  if (!view || !stage.isSettled()) return false;
  if (const auto* screen = qobject_cast<const qtquick::ListScreenItem*>(view))
    return !screen->isBusy();
  if (handOverIsLoading()) return false;
  const auto* start = qobject_cast<const qtquick::StartScreenItem*>(view);
  return !start || start->isRetryVisible();
}

void WindowRun::atRest() {
  if (report_ && !presenter_->stage().isShowing()) return end(report_->status);
  if (qtquick::PasskeyItem* const asking = panel()) {
    panelAtRest(*asking);
  } else if (!isAtRest()) {
    calm_.invalidate();
    if (handOverIsLoading() && presenter_->stage().isSettled()) saveLoading();
  } else if (!waitsForPictures()) {
    if (newToSee_) takePicture();
    if (!turnPage()) playOn();
  }
  if (!over_) rest_.start();
}

// A page of a vendor's, which the state of its sheet tells of.
bool WindowRun::handOverIsLoading() const {
  const auto* const view =
      qobject_cast<const qtquick::HandOverItem*>(presenter_->stage().activeView());
  return view && view->body()->property("state").toInt() == 0;
}

void WindowRun::saveLoading() {
  if (hasShownLoading_ || !pictures_) return;
  hasShownLoading_ = true;
  savePicture(" loading");
}

bool WindowRun::waitsForPictures() {
  if (!pictures_ || !newToSee_) return false;
  if (qobject_cast<const qtquick::HandOverItem*>(presenter_->stage().activeView())) {
    // What a browser shows is drawn a while after it is there.
    if (!waiting_.isValid()) waiting_.start();
    return !waiting_.hasExpired(kNoticeable);
  }
  const auto* screen =
      qobject_cast<const qtquick::ListScreenItem*>(presenter_->stage().activeView());
  if (!screen) return false;
  if (!waiting_.isValid()) {
    waiting_.start();
    calmRests_ = screen->rows()->isLoading() ? 0 : kComingIn;
  }
  if (screen->rows()->isLoading()) {
    calmRests_ = 0;
    if (waiting_.hasExpired(kNoticeable)) saveLoading();
    return !waiting_.hasExpired(kPatience);
  }
  return ++calmRests_ < kComingIn;
}

void WindowRun::takePicture() {
  waiting_.invalidate();
  newToSee_ = false;
  playedSince_ = false;
  savePicture(turned_.value_or(0) > 0 ? " continued" : "");
}

void WindowRun::savePicture(const std::string& addition) {
  const auto* view = presenter_->stage().activeView();
  if (!view) return;
  saveAs((view->isAlert() ? "alert" : nameOf(*view->controller())) + addition);
}

void WindowRun::saveAs(const std::string& name) {
  if (!pictures_) return;
  // The drawing in memory repairs only what has changed; this makes it draw everything afresh.
  presenter_->overlay()->setOpacity(0.999);
  window_.grabWindow();
  presenter_->overlay()->setOpacity(1);
  const auto file = pictures_->take(window_, name);
  pictureLost_ = pictureLost_ || !file;
  say(file ? "picture  " + file->string() : "picture  of " + name + " could not be saved");
}

qtquick::PasskeyItem* WindowRun::panel() const {
  qtquick::PasskeyItem* const shown = presenter_->passkey();
  return shown && shown->isOpen() ? shown : nullptr;
}

void WindowRun::panelChanged() {
  calm_.invalidate();
  rest_.start();
  panelIsNew_ = true;
  if (passkeyPlayer_) passkeyPlayer_->asked();
}

/// A panel that is taller than the window, page by page.
void WindowRun::takePanelPictures(qtquick::PasskeyItem& panel) {
  QQuickItem* const body = findItem(panel.content(), QStringLiteral("passkeyBody"));
  if (!pictures_ || !body) return saveAs(nameOf(panel));
  const QVariant start = body->property("contentY");
  saveAs(nameOf(panel));
  for (int page = 0; page < kMostPages && scrollOn(*body); ++page) {
    saveAs(nameOf(panel) + " continued");
  }
  body->setProperty("contentY", start);
}

void WindowRun::panelAtRest(qtquick::PasskeyItem& panel) {
  calm_.invalidate();
  if (!panel.isSettled() || panel.isBusy()) return;
  if (panelIsNew_) {
    say("passkey  " + panel.title().toStdString());
    takePanelPictures(panel);
    panelIsNew_ = false;
  }
  if (!passkeyPlayer_ || report_) return;
  const bool isTyped = panel.takesSecret();
  if (const auto refusal = passkeyPlayer_->answer(panel)) {
    say("refused  " + *refusal);
    return giveUp("the script cannot go on");
  }
  if (isTyped && !panel.isBusy()) saveAs(nameOf(panel) + " typed");
}

bool WindowRun::turnPage() {
  if (!pictures_ || !turned_) return false;
  QQuickItem* const list = listOnDisplay();
  if (list && *turned_ < kMostPages && scrollOn(*list)) {
    ++*turned_;
    newToSee_ = true;
    return true;
  }
  const bool wasTurned = *turned_ > 0;
  turned_.reset();
  if (list && wasTurned) scrollToTop(*list);
  return wasTurned;
}

QQuickItem* WindowRun::listOnDisplay() const {
  const auto* view = presenter_->stage().activeView();
  return view ? findItem(view->content(), QStringLiteral("rows")) : nullptr;
}

void WindowRun::playOn() {
  if (report_) return;
  // Nobody to play, and somebody to do it by hand.
  if (!player_ && !pictures_) return;
  if (!player_ || player_->isDone()) {
    if (mayGoOnByItself()) return;
    if (!calm_.isValid()) calm_.start();
    if (!calm_.hasExpired(kLastWait)) return;
    return giveUp(player_ ? "the script has ended before the flow"
                          : "there is no --script to go on with");
  }
  if (player_->isAboutToPress() && playedSince_) takePicture();
  playedSince_ = true;
  if (const auto refusal = player_->playNext()) {
    say("refused  " + *refusal);
    giveUp("the script cannot go on");
  }
}

bool WindowRun::mayGoOnByItself() const {
  const auto* view = presenter_->stage().activeView();
  const auto* screen = qobject_cast<const qtquick::ListScreenItem*>(view);
  if (screen) return screen->isPolling();
  return capture_ && capture_->isCapturing() && !(cameraHasEnded_ && *cameraHasEnded_);
}

void WindowRun::captureSeen(const std::string& name) {
  say("sees     " + name);
  saveAs("face capture " + name);
}

void WindowRun::giveUp(const std::string& why) {
  completed({"result   none: " + why, exit_status::kNoResult});
  end(report_->status);
}

void WindowRun::end(int status) {
  over_ = true;
  rest_.stop();
  // Whoever asked for pictures must hear that they are not all there.
  if (pictureLost_ && status == exit_status::kResponse) status = exit_status::kNoResult;
  QCoreApplication::exit(status);
}

}  // namespace veltrane::window
