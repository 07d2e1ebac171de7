#include "veltrane/ui/screen_template1_vc.h"

#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/base/text.h"
#include "veltrane/engine/screen_template_config.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/alert.h"

namespace veltrane {
namespace {

constexpr const char* kAlertTitle = "Veltrane Flow";
constexpr MainQueue::Interval kBeforeFaceCapture{1'000};
/// Room left between a field and the keyboard below it, in points.
constexpr double kAboveKeyboard = 40;
constexpr EdgeInsets kDefaultMargins{.top = 10, .left = 20, .bottom = 10, .right = 20};

void applyColor(std::optional<Color>& field, std::string_view text) {
  text = trimmed(text);
  if (!text.empty()) field = Color::fromHex(text);
}

double marginOr(double padding, double standard) {
  return padding == 0 ? standard : padding;
}

}  // namespace

ScreenTemplate1VC::ScreenTemplate1VC() {
  mainTableView.setDataSource(this);
}

void ScreenTemplate1VC::viewDidLoad() {
  FlowScreen::viewDidLoad();
  if (const auto theme = UserDefaultsManager::getUITheme()) {
    const auto color = theme->find("backgroundColor");
    if (color != theme->end()) view.backgroundColor = Color::fromHex(color->second);
  }
  if (userViewProps && userViewIndex) {
    adopt(ScreenTemplatesConfig::addAdditionalField(*userViewProps, *userViewIndex));
  }
  if (!viewModel) fatal("ScreenTemplate1VC needs its user views.");
  navigationItem.title = viewModel->navigationTitle;
  setupUISize();
  registerCells();
  console::print("userViewProps::: ", *userViewProps);
  console::print("next event ", viewModel->nextEvent.value_or(JSON()));
  title = viewModel->title;
  reloadRows();
  fireOnLoadEvent();
  scheduleFaceCapture();
}

void ScreenTemplate1VC::viewWillAppear(bool animated) {
  FlowScreen::viewWillAppear(animated);
  if (const auto navigation = navigationController()) {
    navigation->setNavigationBarHidden(viewModel->fullScreenMode, animated);
  }
  observeFlowNotification();
  moving_ = false;
}

void ScreenTemplate1VC::viewWillDisappear(bool /*animated*/) {
  removeObservers();
}

void ScreenTemplate1VC::didLeaveStack() {
  poll_.reset();
  if (viewModel) viewModel->stop();
  if (handOverModel_) handOverModel_->stop();
  if (connector_) connector_->stop();
}

void ScreenTemplate1VC::keyboardWillShow(std::optional<double> height) {
  if (!height) return;
  mainTableView.contentInset = {.bottom = *height + kAboveKeyboard};
  changed();
}

void ScreenTemplate1VC::keyboardWillHide() {
  mainTableView.contentInset = {};
  changed();
}

void ScreenTemplate1VC::adopt(std::shared_ptr<ScreensViewModel> model) {
  viewModel = std::move(model);
  viewModel->delegate = self();
  if (flow) viewModel->flowParam = EventParams::from(*flow);
  busySubscription_ = viewModel->busyChanged.subscribe([this] { changed(); });
}

bool ScreenTemplate1VC::isBusy() const {
  return moving_ || (viewModel && viewModel->isBusy()) ||
         (handOverModel_ && handOverModel_->isBusy());
}

void ScreenTemplate1VC::sendFrom(const std::shared_ptr<ScreensViewModel>& model,
                                 const ScreensViewModel::NextEvent& event) {
  if (!model) {
    return postFlowError(VeltraneFlowError::badRequest("The screen has no event to send."));
  }
  lastSender_ = model;
  model->processNextEvent(event);
}

void ScreenTemplate1VC::setupUISize() {
  applyColor(view.backgroundColor, viewModel->viewBackgroundColor);
  applyColor(view.textColor, viewModel->viewTextColor);
  applyColor(navigationItem.tintColor, viewModel->navbarTextColor);
  applyColor(navigationItem.barTintColor, viewModel->navbarBackgroundColor);
  margins = {.top = marginOr(viewModel->viewPaddingTop, kDefaultMargins.top),
             .left = marginOr(viewModel->viewPaddingLeft, kDefaultMargins.left),
             .bottom = marginOr(viewModel->viewPaddingBottom, kDefaultMargins.bottom),
             .right = marginOr(viewModel->viewPaddingRight, kDefaultMargins.right)};
}

void ScreenTemplate1VC::fireOnLoadEvent() {
  if (viewModel->onLoadEvent) {
    console::print("do on load event call...");
    showActivityIndicator();
    sendFrom(viewModel, {.isOnLoadEvent = true});
  }
  if (viewModel->enablePolling) startPolling();
}

void ScreenTemplate1VC::startPolling() {
  console::print("polling for challenge started...");
  showActivityIndicator();
  const JSON document = flow.value_or(JSON());
  poll_ = PollForChallengeStatus::startClientSidePoll(
      {.companyId = document["companyId"].textValue(),
       .challengeId = viewModel->pollingChallenge,
       .pollInterval = viewModel->pollInterval,
       .pollRetries = viewModel->pollRetries,
       .interactionId = document["interactionId"].textValue(),
       .callback = [this](std::optional<std::string> status, std::optional<std::string> error) {
         pollingEnded(status, error);
       }});
}

void ScreenTemplate1VC::pollingEnded(const std::optional<std::string>& status,
                                     const std::optional<std::string>& error) {
  hideActivityIndicator();
  if (error) {
    showAlert(*error);
  } else if (status) {
    sendFrom(viewModel, {.additionalParameter = {{"id", flow.value_or(JSON())["id"].textValue()},
                                                 {"eventName", "continue"},
                                                 {"pollResponse", *status}},
                         .isPollingContinue = true});
  }
}

void ScreenTemplate1VC::scheduleFaceCapture() {
  // The flow's first user view decides, whichever one this screen shows.
  const auto first = (*userViewProps).front()["screenTemplateName"];
  if (first.text() != "FaceImageCaptureTemplate") return;
  const auto weak = std::weak_ptr(self());
  MainQueue::current().asyncAfter(kBeforeFaceCapture, [weak] {
    const auto screen = weak.lock();
    if (screen && screen->isOnDisplay()) screen->openFaceCapture();
  });
}

void ScreenTemplate1VC::openFaceCapture() {
  const auto controller =
      Platform::current().storyboard->instantiateViewController("FaceImageCaptureVC");
  const auto capture = std::dynamic_pointer_cast<FaceImageCaptureScreen>(controller);
  if (!capture) return showAlert("The camera is not available.");
  capture->delegate = self();
  controller->modalPresentationStyle = ModalPresentationStyle::fullScreen;
  present(controller, true);
}

void ScreenTemplate1VC::faceImageCaptureResult(const std::optional<std::string>& base64Png,
                                               const std::optional<VeltraneFlowError>& error) {
  if (error) {
    console::print("got error on face image capture: " + error->errorDescription());
    return postFlowError(*error);
  }
  if (!base64Png) return;
  console::print("got image data: " + std::string(console::kMask));
  showActivityIndicator();
  sendFrom(viewModel, {.additionalParameter = {{"imageData", JSON::base64(*base64Png)}}});
}

void ScreenTemplate1VC::showActivityIndicator() {
  onMain([](ScreenTemplate1VC& screen) { screen.setLoadingHidden(false); });
}

void ScreenTemplate1VC::hideActivityIndicator() {
  onMain([](ScreenTemplate1VC& screen) { screen.setLoadingHidden(true); });
}

void ScreenTemplate1VC::setMoving(bool moving) {
  if (moving_ == moving) return;
  moving_ = moving;
  changed();
}

void ScreenTemplate1VC::setLoadingHidden(bool hidden) {
  if (loading.isHidden == hidden) return;
  loading.isHidden = hidden;
  changed();
}

void ScreenTemplate1VC::presentOver(std::shared_ptr<ViewController> controller) {
  present(std::move(controller), true);
}

void ScreenTemplate1VC::showAlert(const std::string& message) {
  Alert::showAlert(self(), message, kAlertTitle);
}

void ScreenTemplate1VC::notify(UserInfo userInfo) {
  NotificationCenter::defaultCenter().post(kVtFlowNotification, std::move(userInfo));
}

void ScreenTemplate1VC::sendNextEvent(const Dictionary& additionalParameter) {
  sendFrom(handOverModel_ ? handOverModel_ : viewModel,
           {.additionalParameter = additionalParameter});
}

std::shared_ptr<ScreenTemplate1VC> ScreenTemplate1VC::self() {
  return std::static_pointer_cast<ScreenTemplate1VC>(shared_from_this());
}

void ScreenTemplate1VC::onMain(std::function<void(ScreenTemplate1VC&)> work) {
  MainQueue::current().async([weak = std::weak_ptr(self()), work = std::move(work)] {
    if (const auto screen = weak.lock()) work(*screen);
  });
}

}  // namespace veltrane
