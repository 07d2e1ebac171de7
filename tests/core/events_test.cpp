#include <thread>

#include "tests/core/host.h"
#include "veltrane/engine/screens_view_model.h"

namespace veltrane::testing {
namespace {

/// Keeps what it was asked until the test answers.
class FakeCredentials final : public CredentialsManager {
 public:
  void credentialsCreate(const std::string& rpId, const std::string& origin, int modality,
                         const JSON& json, Callback callback) override {
    asked = "create " + rpId + " " + origin + " " + std::to_string(modality) + " " +
            json.serialized().value();
    answer = std::move(callback);
  }
  void credentialsGet(const std::string& rpId, const std::string& origin, const JSON& json,
                      Callback callback) override {
    asked = "get " + rpId + " " + origin + " " + json.serialized().value();
    answer = std::move(callback);
  }
  std::string asked;
  Callback answer;
};

struct RecordingListener final : ScreensViewModelDelegate {
  void nextEventProcessComplete(const std::optional<JSON>& response,
                                const std::optional<VeltraneFlowError>& error,
                                std::optional<std::size_t> index) override {
    record("next", response, error, index);
  }
  void postProcessNextEventComplete(const std::optional<JSON>& response,
                                    const std::optional<VeltraneFlowError>& error,
                                    std::optional<std::size_t> index) override {
    record("post", response, error, index);
  }
  void record(const char* what, const std::optional<JSON>& response,
              const std::optional<VeltraneFlowError>& error, std::optional<std::size_t> index) {
    std::string line = std::string(what) + (index ? " -> " + std::to_string(*index) : " -> none");
    if (response) line += ' ' + response->serialized().value();
    if (error) line += ' ' + std::string(error->reasonName()) + ": " + error->errorDescription();
    heard.push_back(line);
  }
  std::vector<std::string> heard;
};

std::string nextEventWith(const std::string& members) {
  return R"("nextEvent":{"constructType":"vtEvent","eventType":"post","eventName":"go",)" +
         members + "}";
}
std::string localEvent(const std::string& name) {
  return nextEventWith(R"("postProcess":{"localEvent":")" + name + R"(","eventName":"done"})");
}

class Events : public Host {
 protected:
  /// The model of user view 2 of a flow with these properties.
  void make(const std::string& properties) {
    Platform ports = platform.ports();
    ports.makeCredentialsManager = [this] { return credentials; };
    const PlatformScope scope(std::move(ports));
    model = ScreensViewModel::make(
        GenericViewModel::getUserViewProps(parsed(document(properties))).front(), 2);
    model->delegate = listener;
    listener->heard.clear();
  }
  void send(ScreensViewModel::NextEvent event = {}) {
    model->processNextEvent(event);
    platform.mainQueue->run();
  }
  std::shared_ptr<FakeCredentials> credentials = std::make_shared<FakeCredentials>();
  std::shared_ptr<RecordingListener> listener = std::make_shared<RecordingListener>();
  std::shared_ptr<ScreensViewModel> model;
};

TEST_F(Events, aNextEventCarriesTheInputTheTokenAndTheChallenge) {
  make(kPostEvent);
  UserDefaultsManager::saveAccessToken("tok");
  UserDefaultsManager::saveChallenge("ch");
  send({.additionalParameter = {{"user", "al"}}});
  EXPECT_TRUE(
      request().url.ends_with("/auth/co/connections/con/capabilities/cap?interactionId=in"));
  EXPECT_EQ(request().headers[0].second, "Bearer tok");
  EXPECT_EQ(request().headers[1].second, "application/json");
  EXPECT_EQ(sent().serialized(),
            R"({"capabilityName":"cap","connectionId":"con","eventName":"go","id":"id-1",)"
            R"("parameters":{"challenge":"ch","user":"al"}})");
  EXPECT_TRUE(model->isBusy());
  serve(R"({"a":1})");
  EXPECT_FALSE(model->isBusy());
  EXPECT_THAT(listener->heard, ElementsAre(R"(next -> 3 {"a":1})"));
  EXPECT_TRUE(platform.console->has(R"(processNextEvent JSON resposne:: {"a":1})"));
}

TEST_F(Events, failuresReachTheListenerAsErrors) {
  const std::tuple<const char*, int, const char*> cases[] = {
      {"{", 200, "next -> 2 badRequest: Invalid JSON response from server."},
      {"[]", 200, "next -> 2 badRequest: Invalid JSON response from server."},
      {R"({"message":"no"})", 401, "next -> 2 errorResponse: no"},
      {R"({"success":0,"message":"wrong"})", 200, "next -> 2 errorResponse: wrong"},
      {R"({"success":false})", 200, "next -> 2 errorResponse: Unknown Error!"},
      {R"({"success":0.0})", 200, "next -> 2 errorResponse: Unknown Error!"},
      {R"({"success":"0"})", 200, R"(next -> 3 {"success":"0"})"},
  };
  for (const auto& [body, status, expected] : cases) {
    make(kPostEvent);
    send();
    serve(body, status);
    EXPECT_THAT(listener->heard, ElementsAre(expected));
  }
  EXPECT_TRUE(platform.console->has("error ::no"));
}

TEST_F(Events, aStepWithinTheClientSendsNothing) {
  const std::pair<const char*, const char*> cases[] = {
      {"7", "next -> 7"},
      {"true", "next -> 1"},
      {"0", "next -> 0"},
      {"1.0", "next -> 1"},
      {"-1", nullptr},
      {"1.5", nullptr},
      {"\"1\"", nullptr},
      {"null", nullptr},
      {"1e300", nullptr},
      {"[]", nullptr},
      {"9000000000000000000", "next -> 9000000000000000000"}};
  for (const auto& [index, expected] : cases) {
    make(std::string(R"("nextEvent":{"constructType":"vtEvent","eventType":"nextUserView",)") +
         R"("nextUserViewIndex":)" + index + "}");
    model->processNextEvent({});
    EXPECT_THAT(listener->heard, IsEmpty()) << "only later";
    platform.mainQueue->run();
    EXPECT_THAT(listener->heard, ElementsAre(expected ? expected
                                                      : "next -> 2 veltraneError: Invalid user "
                                                        "view index"))
        << index;
  }
  EXPECT_EQ(requests(), 0u);
}

TEST_F(Events, anEventWithoutParametersHasNowhereToGo) {
  const auto expected = "next -> 2 badRequest: The screen has no event to send.";
  make("");
  send();
  send({.isOnLoadEvent = true});
  EXPECT_THAT(listener->heard, ElementsAre(expected, expected));
  EXPECT_FALSE(model->isBusy());
  EXPECT_EQ(requests(), 0u);
}

TEST_F(Events, theContinueEventIsAlwaysSent) {
  const ScreensViewModel::NextEvent event{
      .additionalParameter = {{"id", "x"}, {"eventName", "continue"}, {"pollResponse", "denied"}},
      .isPollingContinue = true};
  const auto step =
      R"("nextEvent":{"constructType":"vtEvent","eventType":"nextUserView","eventName":"e"})";
  for (const auto& properties : {std::string(step), std::string(kOnLoadEvent), std::string()}) {
    make(properties);
    model->flowParam = EventParams{"id-1", "co", "fl", "con", "cap", "in"};
    send(event);
    EXPECT_EQ(sent().serialized(),
              R"({"capabilityName":"cap","connectionId":"con","eventName":"continue","id":"x",)"
              R"("parameters":{"eventName":"continue","id":"x","pollResponse":"denied"}})")
        << properties;
    serve("{}");
    EXPECT_EQ(listener->heard.back(), "next -> 3 {}");
  }
}

TEST_F(Events, aRegistrationGetsTheWholeAnswerAndSendsItsCredential) {
  make(localEvent("fidoRegistration"));
  UserDefaultsManager::saveRPId("rp");
  UserDefaultsManager::saveOrigin("https://rp");
  send();
  serve(R"({"challenge":"c","x":1})");
  EXPECT_EQ(credentials->asked, R"(create rp https://rp 2 {"challenge":"c","x":1})");
  EXPECT_TRUE(model->isBusy());
  // The library answers on a thread of its own, and may be wrong to answer twice.
  std::thread([this] {
    credentials->answer(parsed(R"({"createCredResponse":{"id":"k"}})"), std::nullopt);
    credentials->answer(std::nullopt, std::nullopt);
  }).join();
  EXPECT_THAT(listener->heard, IsEmpty());
  platform.mainQueue->run();
  EXPECT_FALSE(model->isBusy());
  EXPECT_THAT(listener->heard, ElementsAre(R"(next -> 2 {"id":"k"})"));
  EXPECT_TRUE(platform.console->has("createCredResponse:: "));

  model->postProcessEvent(parsed(R"({"id":"k"})"));
  EXPECT_EQ(sent()["eventName"].text(), "done");
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"webAuthnResponse":{"id":"k"}})");
  serve(R"({"success":0})");
  EXPECT_EQ(listener->heard.back(), R"(post -> 2 {"success":0})");
  model->postProcessEvent(parsed("{}"));
  serve("[]");
  EXPECT_EQ(listener->heard.back(), "post -> 2 badRequest: Invalid JSON response from server.");
}

TEST_F(Events, passkeyStepsEndInOneOfTheirErrors) {
  const auto failed = VeltraneFlowError::badRequest("broken");
  const std::tuple<const char*, std::optional<JSON>, std::optional<VeltraneFlowError>, const char*>
      cases[] = {
          {"fidoRegistration", {}, failed, "next -> 2 veltraneError: broken"},
          {"fidoRegistration", {}, {}, "next -> 2 badRequest: Invalid Response!"},
          {"fidoRegistration",
           parsed(R"({"createCredResponse":5})"),
           {},
           "next -> 2 dictionaryKeyValueNotFound: Dictionary key's value not found, "
           "Key=Optional(\"createCredResponse\") dict=Optional(\"{\"createCredResponse\":5}\")"},
          {"fidoAuthentication", parsed(R"({"r":1})"), {}, R"(next -> 2 {"r":1})"},
          {"fidoAuthentication", {}, failed, "next -> none badRequest: broken"},
          {"fidoAuthentication",
           {},
           {},
           "next -> none veltraneError: No Internal Stored Credentials found!"},
      };
  for (const auto& [step, result, error, expected] : cases) {
    make(localEvent(step));
    send();
    serve(R"({"initiateAuthenticationResponse":{"o":1}})");
    credentials->answer(result, error);
    platform.mainQueue->run();
    EXPECT_THAT(listener->heard, ElementsAre(expected));
  }
  EXPECT_TRUE(credentials->asked.ends_with(R"({"o":1})")) << credentials->asked;
  make(localEvent("fidoAuthentication"));
  send();
  serve(R"({"initiateAuthenticationResponse":"o"})");
  EXPECT_THAT(listener->heard.front(), StartsWith("next -> 2 dictionaryKeyValueNotFound"));
  credentials = nullptr;
  make(localEvent("fidoRegistration"));
  send();
  serve("{}");
  EXPECT_THAT(listener->heard, ElementsAre("next -> 2 veltraneError: Passkeys are not available."));
}

TEST_F(Events, localEventsThatDoNotExistEndInAnErrorAndEmptyOnesCountAsNone) {
  const std::pair<std::string, const char*> cases[] = {
      {localEvent("pollForChallengeStatus"),
       "next -> none veltraneError: Local event polling supported is removed, please contact "
       "Veltrane support"},
      {localEvent("other"), "next -> 2 veltraneError: Unsupported local event: other"},
      {nextEventWith(R"("postProcess":{"localEvent":5})"),
       "next -> 2 veltraneError: Unsupported local event: "},
      {nextEventWith(R"("postProcess":{})"), "next -> 3 {}"},
      {nextEventWith(R"("postProcess":"text")"), "next -> 3 {}"},
  };
  for (const auto& [properties, expected] : cases) {
    make(properties);
    send();
    serve("{}");
    EXPECT_THAT(listener->heard, ElementsAre(expected));
  }
  EXPECT_TRUE(platform.console->has("do somehting here for other localEvent ....... "));
  EXPECT_TRUE(platform.console->has("// no post process event"));
}

TEST_F(Events, aModelThatStopsOrIsGoneHearsAndSendsNothing) {
  make(localEvent("fidoRegistration"));
  send();
  model->stop();
  serve("{}");
  send();
  EXPECT_EQ(requests(), 1u);
  make(localEvent("fidoRegistration"));
  send();
  serve("{}");
  model.reset();
  credentials->answer(std::nullopt, std::nullopt);
  platform.mainQueue->run();
  EXPECT_THAT(listener->heard, IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
