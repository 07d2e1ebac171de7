// The events of a screen: what is sent, how the answer is read, and the passkey steps in between.
#include <atomic>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/engine/screens_view_model.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {
namespace {

constexpr int kModality = 2;

VeltraneFlowError invalidResponse() {
  return VeltraneFlowError::badRequest("Invalid JSON response from server.");
}

}  // namespace

void ScreensViewModel::processNextEvent(const NextEvent& event) {
  if (stopped_) return;
  Dictionary parameters = event.additionalParameter;
  if (const auto challenge = UserDefaultsManager::getChallenge()) {
    parameters.set("challenge", *challenge);
  }
  if (event.isOnLoadEvent) {
    send(EventKind::onLoad, onLoadParam, getOnLoadEventProps(parameters));
  } else if (event.isPollingContinue) {
    // What the poller found is always sent, under the name and id that came with it.
    const auto& param = nextParam ? nextParam : onLoadParam ? onLoadParam : flowParam;
    Dictionary body = getNextEventProps(parameters);
    body.set("connectionId", param ? param->connectionId : std::string());
    body.set("capabilityName", param ? param->capabilityName : std::string());
    body.set("eventName", event.additionalParameter["eventName"]);
    body.set("id", event.additionalParameter["id"]);
    send(EventKind::pollingContinue, param, body);
  } else if (nextEvent && (*nextEvent)["eventType"].text() == "nextUserView") {
    stepWithinClient();
  } else {
    send(EventKind::next, nextParam, getNextEventProps(parameters));
  }
}

void ScreensViewModel::postProcessEvent(const JSON& response) {
  send(EventKind::postProcess, nextParam,
       getPostProcessEventProps({{"webAuthnResponse", response}}));
}

void ScreensViewModel::stepWithinClient() {
  const auto index = (*nextEvent)["nextUserViewIndex"].integer();
  if (index && *index >= 0) {
    reportLater(EventKind::next, {}, static_cast<std::size_t>(*index));
  } else {
    reportLater(EventKind::next,
                {.error = VeltraneFlowError::veltraneError("Invalid user view index")},
                userViewIndex);
  }
}

void ScreensViewModel::send(EventKind kind, const std::optional<EventParams>& param,
                            const Dictionary& body) {
  if (!param) {
    reportLater(kind, {.error = VeltraneFlowError::badRequest("The screen has no event to send.")},
                userViewIndex);
    return;
  }
  const NetworkAPIRequestFor request({
      .endpoint = EventEndpoint{.interactionId = param->interactionId,
                                .companyId = param->companyId,
                                .connectionId = param->connectionId,
                                .capabilityName = param->capabilityName},
      .headers = {{APIHTTPHeader::authorization(
                       UserDefaultsManager::getAccessToken().value_or(std::string())),
                   APIHTTPHeader::contentType()}},
      .parameter = body,
      .secretNames = secretNames(),
  });
  const auto id = ++lastRequest_;
  changeBusy(+1);
  // The answer is read on the transport's thread and only then brought to the main queue.
  inFlight_[id] = NetworkManager::getRequest(
      request, [weak = weak_from_this(), kind, id](std::optional<std::string> text,
                                                   std::optional<VeltraneFlowError> error) {
        MainQueue::current().async([weak, kind, id, answer = readAnswer(text, std::move(error))] {
          const auto self = weak.lock();
          if (!self) return;
          self->inFlight_.erase(id);
          self->answered(kind, answer);
          self->changeBusy(-1);
        });
      });
}

ScreensViewModel::Answer ScreensViewModel::readAnswer(const std::optional<std::string>& body,
                                                      std::optional<VeltraneFlowError> error) {
  if (error) return {.error = std::move(error)};
  auto parsed = JSON::parse(body.value_or(std::string()));
  if (!parsed.ok() || !parsed.value.isObject()) return {.error = invalidResponse()};
  return {.response = std::move(parsed.value)};
}

void ScreensViewModel::answered(EventKind kind, const Answer& answer) {
  const bool isPostProcess = kind == EventKind::postProcess;
  console::print(
      isPostProcess ? "postProcessEvent JSON resposne:: " : "processNextEvent JSON resposne:: ",
      answer.response.value_or(JSON()), secretNames());
  if (isPostProcess) return report(kind, answer, userViewIndex);
  if (answer.error) console::print("error ::" + answer.error->errorDescription());
  nextEventAnswered(kind, answer);
}

void ScreensViewModel::nextEventAnswered(EventKind kind, const Answer& answer) {
  if (answer.error) return report(kind, answer, userViewIndex);
  const JSON& response = *answer.response;
  if (response["success"].integer() == 0) {
    return report(kind, {.error = ConfigureAPIResponseError::getError(response)}, userViewIndex);
  }
  if (const auto step = postProcess ? postProcess->nonEmptyObject() : std::nullopt) {
    return runLocalEvent(*step, response);
  }
  const auto next = kind == EventKind::onLoad ? userViewIndex : userViewIndex.value_or(0) + 1;
  report(kind, answer, next);
}

bool ScreensViewModel::answersAreCredentials() const {
  if (!postProcess) return false;
  const JSON localEvent = (*postProcess)["localEvent"];
  return localEvent.text() == "fidoRegistration" || localEvent.text() == "fidoAuthentication";
}

void ScreensViewModel::runLocalEvent(const JSON& step, const JSON& answer) {
  const auto localEvent = step["localEvent"].text().value_or("");
  if (localEvent == "fidoRegistration") {
    startRegistration(answer);
  } else if (localEvent == "fidoAuthentication") {
    startAuthentication(answer);
  } else if (localEvent == "pollForChallengeStatus") {
    report(EventKind::next,
           {.error = VeltraneFlowError::veltraneError("Local event polling supported is removed, "
                                                      "please contact Veltrane support")},
           std::nullopt);
  } else {
    console::print("do somehting here for other localEvent ....... ");
    console::print("// no post process event");
    report(EventKind::next,
           {.error = VeltraneFlowError::veltraneError("Unsupported local event: " +
                                                      std::string(localEvent))},
           userViewIndex);
  }
}

void ScreensViewModel::startRegistration(const JSON& answer) {
  const auto finish = onCredentials(&ScreensViewModel::registered);
  if (!credManager) {
    return finish(std::nullopt, VeltraneFlowError::veltraneError("Passkeys are not available."));
  }
  credManager->credentialsCreate(UserDefaultsManager::getRPId().value_or(std::string()),
                                 UserDefaultsManager::getOrigin().value_or(std::string()),
                                 kModality, answer, finish);
}

void ScreensViewModel::startAuthentication(const JSON& answer) {
  const JSON options = answer["initiateAuthenticationResponse"];
  if (!options.isObject()) {
    const reason::DictionaryKeyValueNotFound missing{answer, "initiateAuthenticationResponse"};
    return report(EventKind::next, {.error = VeltraneFlowError{.reason = missing}}, userViewIndex);
  }
  const auto finish = onCredentials(&ScreensViewModel::authenticated);
  if (!credManager) {
    return finish(std::nullopt, VeltraneFlowError::veltraneError("Passkeys are not available."));
  }
  credManager->credentialsGet(UserDefaultsManager::getRPId().value_or(std::string()),
                              UserDefaultsManager::getOrigin().value_or(std::string()), options,
                              finish);
}

CredentialsManager::Callback ScreensViewModel::onCredentials(CredentialsOutcome outcome) {
  changeBusy(+1);
  const auto called = std::make_shared<std::atomic<bool>>(false);
  return [weak = weak_from_this(), outcome, called](std::optional<JSON> result,
                                                    std::optional<VeltraneFlowError> error) {
    if (called->exchange(true)) return;
    MainQueue::current().async(
        [weak, outcome, answer = Answer{std::move(result), std::move(error)}] {
          const auto self = weak.lock();
          if (!self) return;
          ((*self).*outcome)(answer);
          self->changeBusy(-1);
        });
  };
}

void ScreensViewModel::registered(const Answer& answer) {
  if (answer.error) {
    VeltraneFlowError error = *answer.error;
    error.reason = reason::VeltraneError{answer.error->errorDescription()};
    return report(EventKind::next, {.error = std::move(error)}, userViewIndex);
  }
  if (!answer.response) {
    return report(EventKind::next, {.error = VeltraneFlowError::badRequest("Invalid Response!")},
                  userViewIndex);
  }
  const JSON created = (*answer.response)["createCredResponse"];
  if (!created.isObject()) {
    const reason::DictionaryKeyValueNotFound missing{*answer.response, "createCredResponse"};
    return report(EventKind::next, {.error = VeltraneFlowError{.reason = missing}}, userViewIndex);
  }
  console::print("createCredResponse:: ");
  report(EventKind::next, {.response = created}, userViewIndex);
}

void ScreensViewModel::authenticated(const Answer& answer) {
  if (answer.response) return report(EventKind::next, {.response = answer.response}, userViewIndex);
  report(EventKind::next,
         {.error = answer.error.value_or(
              VeltraneFlowError::veltraneError("No Internal Stored Credentials found!"))},
         std::nullopt);
}

void ScreensViewModel::report(EventKind kind, const Answer& answer,
                              std::optional<std::size_t> index) {
  const auto listener = delegate.lock();
  if (!listener) return;
  if (kind == EventKind::postProcess) {
    listener->postProcessNextEventComplete(answer.response, answer.error, index);
  } else {
    listener->nextEventProcessComplete(answer.response, answer.error, index);
  }
}

void ScreensViewModel::reportLater(EventKind kind, Answer answer,
                                   std::optional<std::size_t> index) {
  changeBusy(+1);
  MainQueue::current().async([weak = weak_from_this(), kind, answer = std::move(answer), index] {
    const auto self = weak.lock();
    if (!self) return;
    self->report(kind, answer, index);
    self->changeBusy(-1);
  });
}

void ScreensViewModel::stop() {
  stopped_ = true;
  delegate.reset();
  inFlight_.clear();
  // A passkey prompt closes with the screen that asked for it.
  credManager.reset();
}

void ScreensViewModel::changeBusy(int by) {
  const bool wasBusy = isBusy();
  busy_ += by;
  if (wasBusy != isBusy()) busyChanged();
}

}  // namespace veltrane
