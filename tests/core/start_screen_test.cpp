#include "tests/core/host.h"
#include "veltrane/ui/open.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane::testing {
namespace {

class StartScreen : public Host {
 protected:
  std::shared_ptr<StartFlowVC> run(VTFlow::ByFlowId arguments = {}) {
    arguments.flowId = "fl";
    arguments.fromViewController = window;
    flow->runFlow(arguments);
    platform.mainQueue->run();
    return std::dynamic_pointer_cast<StartFlowVC>(stack()->topViewController());
  }
};

TEST_F(StartScreen, asksForTheFlowWithTheHostsPropertiesAndGivesWayToItsFirstScreen) {
  UserDefaultsManager::saveChallenge("stale");
  const auto start = run({.accessToken = "tok", .props = Dictionary{{"a", 1}}});
  EXPECT_EQ(start->loadingLabel.text, "Loading flow...");
  EXPECT_TRUE(request().url.ends_with("/auth/co/flows/fl/start")) << request().url;
  EXPECT_EQ(request().headers[0].second, "Bearer tok");
  EXPECT_EQ(request().headers[1].second, "application/json");
  EXPECT_EQ(sent().serialized(), R"({"a":1})");
  serve(document(kButton));
  EXPECT_THAT(shown, ElementsAre("present StartFlowVC", "root ScreenTemplate1VC"));
  EXPECT_EQ(UserDefaultsManager::getChallenge(), std::nullopt);
  EXPECT_EQ(screen()->mainTableView.numberOfRows(), 1u);
}

TEST_F(StartScreen, endsTheRunInOneOfItsWays) {
  const std::string unsupported =
      "veltraneError: Unsupported Flow. Make sure you have configured flow for second factor "
      "authentication using following connectors. Fido2/WebAuthn, SMS, Telesign SMS, Voice OTP, "
      "Passwordless Push, Jumio Identity Verification, onFido Document Verification, Screen View, "
      "Face Image Capture";
  const auto unreadable = "badRequest: Invalid JSON response from server.";
  const std::tuple<std::string, int, std::string> cases[] = {
      {"<html>", 200, unreadable},
      {"[]", 200, unreadable},
      {"5", 200, unreadable},
      {R"({"message":"no"})", 401, "errorResponse: no"},
      {R"({"success":true,"access_token":"t"})", 200, R"({"access_token":"t","success":true})"},
      {R"({"success":1,"access_token":""})", 200, R"({"access_token":"","success":1})"},
      {R"({"success":true,"access_token":5})", 200, unsupported},
      {R"({"success":false,"access_token":"t"})", 200, unsupported},
      {document("", {view("OtpScreen")}), 200, unsupported},
      {document("", {view("OtpScreenTemplate")}), 200, unsupported},
      {document("", {}), 200, unsupported},
  };
  for (const auto& [answer, status, expected] : cases) {
    outcome->calls.clear();
    run();
    serve(answer, status);
    EXPECT_THAT(outcome->calls, ElementsAre(expected)) << answer;
    EXPECT_EQ(stack(), nullptr) << answer;
  }
}

TEST_F(StartScreen, opensTheGenericScreenForEightTemplates) {
  for (const auto* name : {"ScreenTemplate1", "UsernameScreenTemplate", "CustomScreenTemplate",
                           "PhoneScreenTemplate", "MessageScreen", "FaceImageCaptureTemplate",
                           "ThirdPartyiFrameTemplate", "ThirdPartyTemplate"}) {
    open(document("", {view(name)}));
    ASSERT_NE(screen(), nullptr) << name;
    screen()->cancelPressed();
    platform.mainQueue->run();
  }
}

TEST_F(StartScreen, offersToAskAgainAfterTenSecondsAndHearsOnlyTheLatestAnswer) {
  const auto start = run();
  platform.mainQueue->advance(std::chrono::milliseconds(9'999));
  EXPECT_TRUE(start->isRetryButtonHidden);
  platform.mainQueue->advance(std::chrono::milliseconds(1));
  EXPECT_FALSE(start->isRetryButtonHidden);
  const auto first = platform.transport->exchanges.front();
  // This answer is already on its way to the main queue when the user asks again.
  first->finish(HTTPResponse{500, "{}"});
  start->retryButtonAction();
  EXPECT_TRUE(start->isRetryButtonHidden);
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, IsEmpty());
  EXPECT_EQ(request().url, first->request.url);
  serve(document(kButton));
  EXPECT_NE(screen(), nullptr);
}

TEST_F(StartScreen, cancelEndsTheRunAndALateAnswerIsNotHeard) {
  const auto start = run();
  start->cancelPressed();
  start->cancelPressed();
  start->retryButtonAction();
  serve(document(kButton));
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
  EXPECT_THAT(shown, ElementsAre("present StartFlowVC", "dismissed NavigationController"));
  EXPECT_EQ(requests(), 1u);
}

TEST_F(StartScreen, theFlowIdWinsOverThePolicyIdAndWithoutEitherTheRunEnds) {
  const auto show = [&](std::optional<std::string> flowId, std::optional<std::string> policyId) {
    const auto start = std::make_shared<StartFlowVC>();
    start->companyId = "co";
    start->flowId = std::move(flowId);
    start->policyId = std::move(policyId);
    start->vtFlow = flow;
    window->present(NavigationController::make(start), true);
    platform.mainQueue->run();
  };
  show(std::nullopt, std::nullopt);
  EXPECT_THAT(outcome->calls,
              ElementsAre("badRequest: Both flowId and policyId should not be null. "
                          "Please supply at least one of them"));
  EXPECT_THAT(shown, ElementsAre("present StartFlowVC", "dismissed NavigationController"));
  show("f", "p");
  EXPECT_TRUE(request().url.ends_with("/flows/f/start"));
}

TEST_F(StartScreen, openShowsAScreenAsRootModalOrPush) {
  open(document(kButton));
  const auto show = [&](bool isModel, bool makeItRoot) {
    shown.clear();
    Open::screenTemplate1VC({.vtFlow = flow,
                             .from = stack(),
                             .flow = *screen()->flow,
                             .userViewProps = *screen()->userViewProps,
                             .userViewIndex = 0,
                             .isModel = isModel,
                             .makeItRoot = makeItRoot});
    EXPECT_THAT(shown, IsEmpty());
    platform.mainQueue->run();
    return shown;
  };
  EXPECT_THAT(show(false, false), ElementsAre("push ScreenTemplate1VC"));
  EXPECT_THAT(show(true, true), ElementsAre("root ScreenTemplate1VC"));
  EXPECT_THAT(show(true, false), ElementsAre("modal ScreenTemplate1VC"));
  // Both screens are on display; the end is told once all the same.
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
}

}  // namespace
}  // namespace veltrane::testing
