// Where the answers lead: the next screen, more rows on this one, a new flow, or the end.
#include <algorithm>
#include <array>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/connectors/jumio_connector.h"
#include "veltrane/connectors/onfido_connector.h"
#include "veltrane/engine/screen_template_config.h"
#include "veltrane/engine/supported_screens.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/open.h"
#include "veltrane/ui/screen_template1_vc.h"
#include "veltrane/ui/start_flow_view_model.h"

namespace veltrane {
namespace {

constexpr const char* kNoIndex =
    "No user view index supplied. Do necessay things here. May be this is final step of "
    "Authentication....";

/// Templates that a push opens, with the line that says so; an empty line is not printed.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kPushed = {{
    {"OtpScreenTemplate", "Transition to otpScreenTemplateVC   ...."},
    {"ScreenTemplate1", "Transition to screenTemplate1 ...."},
    {"ScreenTemplate2", "Transition to screenTemplate2  ...."},
    {"UsernameScreenTemplate", ""},
}};

bool succeeded(const JSON& response) {
  return response["success"].integer() == 1;
}

bool isSession(const JSON& response) {
  return succeeded(response) && !response["access_token"].textValue().empty();
}

}  // namespace

void ScreenTemplate1VC::nextEventProcessComplete(const std::optional<JSON>& response,
                                                 const std::optional<VeltraneFlowError>& error,
                                                 std::optional<std::size_t> index) {
  hideActivityIndicator();
  if (error) return postFlowError(*error);
  const JSON printed = response.value_or(JSON());
  console::print("nextEventProcessComplete response : ",
                 viewModel->answersAreCredentials() ? console::secret(printed) : printed,
                 viewModel->secretNames());
  if (response && (*response)["screen"].isObject()) {
    // The document is the dictionary under "screen" if that is whole, else the answer itself.
    const JSON inner = (*response)["screen"];
    return renderNewFlow(inner.contains("screen") ? inner : *response);
  }
  if (!index) return console::print(kNoIndex);
  if (*index >= userViewProps->size()) return lastStepDone(response);
  stepDone(response, *index);
}

void ScreenTemplate1VC::renderNewFlow(const JSON& flowDocument) {
  onMain([flowDocument](ScreenTemplate1VC& screen) {
    const auto navigation = screen.navigationController();
    if (navigation) StartFlowViewModel::renderFlow(flowDocument, navigation, screen.vtFlow);
  });
}

void ScreenTemplate1VC::lastStepDone(const std::optional<JSON>& response) {
  console::print("------------------ this should be the last action ......");
  if (response && succeeded(*response)) postFlowResponse(*response);
}

void ScreenTemplate1VC::stepDone(const std::optional<JSON>& response, std::size_t index) {
  if (response) {
    if (const auto challenge = (*response)["challenge"].text()) {
      UserDefaultsManager::saveChallenge(*challenge);
    }
    if (isSession(*response)) return postFlowResponse(*response);
    const auto sender = lastSender_.lock();
    const auto& model = sender ? sender : viewModel;
    if (model->postProcess && model->postProcess->nonEmptyObject()) {
      return model->postProcessEvent(*response);
    }
  }
  UserViewProps next = *userViewProps;
  if (response) {
    next = OtpScreenTemplateConfig::addQRImage(*response, std::move(next), index);
    next = OnFidoConfig::addOnFidoToken(*response, std::move(next), index);
    next = JumioConfig::addJumioProps(*response, std::move(next), index);
  }
  handleNextScreenTransition(index, next);
}

void ScreenTemplate1VC::postProcessNextEventComplete(const std::optional<JSON>& response,
                                                     const std::optional<VeltraneFlowError>& error,
                                                     std::optional<std::size_t> index) {
  hideActivityIndicator();
  if (error) return postFlowError(*error);
  if (!index) return console::print(kNoIndex);
  console::print("postProcessNextEventComplete  response : ", response.value_or(JSON()),
                 viewModel->secretNames());
  if (response && isSession(*response)) postFlowResponse(*response);
}

void ScreenTemplate1VC::handleNextScreenTransition(std::size_t index, const UserViewProps& props) {
  if (!userViewProps || index >= userViewProps->size()) fatal("There is no such user view.");
  const JSON templateName = (*userViewProps)[index]["screenTemplateName"];
  if (!templateName.text() || !SupportedScreens::check(*templateName.text())) return;
  if (userViewIndex == index) {
    console::print(
        "next userview index is current userview index so need to load additional stuffs (may be "
        "textFields) here");
    return stayOnScreen(*templateName.text(), index, props);
  }
  console::print("next user view index is different from current one so move to next screen");
  setMoving(true);
  onMain([templateName, index, props](ScreenTemplate1VC& screen) {
    screen.moveToNextScreen(*templateName.text(), index, props);
  });
}

void ScreenTemplate1VC::moveToNextScreen(std::string_view templateName, std::size_t index,
                                         const UserViewProps& props) {
  const auto navigation = navigationController();
  const auto isPushed = [&](const auto& entry) { return entry.first == templateName; };
  // A screen that is opened takes the display, everything else leaves this one to its user.
  if (std::none_of(kPushed.begin(), kPushed.end(), isPushed)) setMoving(false);
  if (!navigation || !flow) return setMoving(false);
  if (templateName == "ThirdPartyTemplate") return startOnFido(props, index);
  if (templateName == "ThirdPartyiFrameTemplate") return startJumio(props, index);
  for (const auto& [pushed, line] : kPushed) {
    if (pushed != templateName) continue;
    if (!line.empty()) console::print(line);
    // A check that is still getting ready would come up over the screen that follows.
    if (connector_) connector_->stop();
    return Open::screenTemplate1VC({.vtFlow = vtFlow,
                                    .from = navigation,
                                    .flow = *flow,
                                    .userViewProps = props,
                                    .userViewIndex = index,
                                    .isModel = false,
                                    .makeItRoot = false});
  }
  console::print("NO matching screen tempalte found to Transition ....");
}

void ScreenTemplate1VC::stayOnScreen(std::string_view templateName, std::size_t index,
                                     const UserViewProps& props) {
  if (templateName == "OtpScreenTemplate") {
    adopt(ScreensViewModel::make((*userViewProps)[index], index));
    onMain([](ScreenTemplate1VC& screen) { screen.reloadRows(); });
  } else if (templateName == "ThirdPartyiFrameTemplate") {
    onMain([props, index](ScreenTemplate1VC& screen) {
      if (screen.navigationController()) screen.startJumio(props, index);
    });
  } else if (templateName == "ThirdPartyTemplate") {
    onMain([props, index](ScreenTemplate1VC& screen) {
      if (screen.navigationController()) screen.startOnFido(props, index);
    });
  }
}

void ScreenTemplate1VC::startJumio(const UserViewProps& viewProps, std::size_t index) {
  const auto jumio = std::make_shared<JumioConnector>(self());
  handOverTo(jumio);
  jumio->startJumio(viewProps, index);
}

void ScreenTemplate1VC::startOnFido(const UserViewProps& viewProps, std::size_t index) {
  const auto onfido = std::make_shared<OnfidoConnector>(self());
  handOverTo(onfido);
  onfido->startOnFido(viewProps, index);
}

// A screen has one hand-over: a new one takes the place of what still runs.
void ScreenTemplate1VC::handOverTo(std::shared_ptr<IdentityConnector> connector) {
  if (connector_) connector_->stop();
  connector_ = std::move(connector);
}

void ScreenTemplate1VC::beginStep(const Dictionary& userView, std::size_t index) {
  handOverModel_ = ScreensViewModel::make(userView, index);
  handOverModel_->delegate = self();
  handOverBusySubscription_ = handOverModel_->busyChanged.subscribe([this] { changed(); });
  if (flow) handOverModel_->flowParam = EventParams::from(*flow);
}

}  // namespace veltrane
