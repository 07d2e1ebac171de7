#include <limits>

#include "tests/core/host.h"
#include "veltrane/toolkit/storyboard.h"

namespace veltrane::testing {
namespace {

class Runner : public Host {
 protected:
  SettingValue setting(std::string_view key) const {
    return platform.settings->value(key).value_or("(absent)");
  }
};

TEST_F(Runner, writesItsArgumentsToTheSettingsEachInItsOwnType) {
  const auto made = VTFlow::make({.vtApiKey = "k",
                                  .rpId = "r",
                                  .origin = "o",
                                  .companyId = "c",
                                  .responseTimeOut = 2.5,
                                  .theme = VTTheme{.backgroundColor = "#111"},
                                  .isSandbox = true});
  EXPECT_EQ(setting("apiKey"), SettingValue("k"));
  EXPECT_EQ(setting("rpId"), SettingValue("r"));
  EXPECT_EQ(setting("origin"), SettingValue("o"));
  EXPECT_EQ(setting("timeout"), SettingValue(2.5));
  EXPECT_EQ(setting("isSandbox"), SettingValue(true));
  EXPECT_EQ(setting("uiTheme"), SettingValue(TextDictionary{{"backgroundColor", "#111"},
                                                            {"buttonBackgroundColor", "#99C852"},
                                                            {"buttonTextColor", "#ffffff"},
                                                            {"labelTextColor", "#000000"}}));
  EXPECT_EQ(made->vtApiKey, std::nullopt);
  EXPECT_EQ(made->companyId, "c");
  EXPECT_EQ(made->rpId, "r");
  EXPECT_EQ(made->origin, "o");
  EXPECT_EQ(made->delegate, nullptr);
}

TEST_F(Runner, aThemeDoesNotOutliveItsRunnerAndATokenDoes) {
  UserDefaultsManager::saveUITheme({{"backgroundColor", "#111"}});
  const auto second = VTFlow::make({"k", "r", "o", "c", 1, std::nullopt, false});
  EXPECT_EQ(UserDefaultsManager::getUITheme(), std::nullopt);
  second->runFlow({.flowId = "f", .fromViewController = window, .accessToken = "tok"});
  second->runFlow({.flowId = "f", .fromViewController = window});
  EXPECT_EQ(UserDefaultsManager::getAccessToken(), "tok");
}

TEST_F(Runner, settingsOfAnotherTypeReadAsAbsent) {
  EXPECT_EQ(UserDefaultsManager::getApiKey(), "key");
  UserDefaultsManager::deleteApiKey();
  EXPECT_EQ(UserDefaultsManager::getApiKey(), std::nullopt);
  UserDefaultsManager::saveTimeout(-std::numeric_limits<double>::infinity());
  EXPECT_EQ(UserDefaultsManager::getTimeout(), -std::numeric_limits<double>::infinity());
  for (const char* key : {"timeout", "isSandbox", "uiTheme", "rpId"}) {
    platform.settings->set(key, TextDictionary{});
  }
  platform.settings->set("uiTheme", "text");
  EXPECT_EQ(UserDefaultsManager::getTimeout(), 120.0);
  EXPECT_FALSE(UserDefaultsManager::getIsSandbox());
  EXPECT_EQ(UserDefaultsManager::getUITheme(), std::nullopt);
  EXPECT_EQ(UserDefaultsManager::getRPId(), std::nullopt);
}

TEST_F(Runner, anAbsentIdentifierIsReportedAtOnceAndNothingOpens) {
  flow->runFlow(VTFlow::ByFlowId{.flowId = std::nullopt, .fromViewController = window});
  flow->runFlow(VTFlow::ByPolicyId{.policyId = std::nullopt, .fromViewController = window});
  const auto text =
      "veltraneError: Both flowId and policyId can not be nil. Please supply at least one of them.";
  EXPECT_THAT(outcome->calls, ElementsAre(text, text));
  platform.mainQueue->run();
  EXPECT_THAT(shown, IsEmpty());
  flow->delegate = nullptr;
  flow->runFlow(VTFlow::ByFlowId{.flowId = std::nullopt, .fromViewController = window});
}

TEST_F(Runner, opensLaterOnTheMainQueueAndHoldsItselfUntilThen) {
  flow->runFlow(VTFlow::ByPolicyId{.policyId = "p", .fromViewController = window});
  flow.reset();
  EXPECT_THAT(shown, IsEmpty());
  platform.mainQueue->run();
  EXPECT_THAT(shown, ElementsAre("present StartFlowVC"));
  EXPECT_EQ(stack()->modalPresentationStyle, ModalPresentationStyle::fullScreen);
  const auto& url = request().url;
  EXPECT_TRUE(url.ends_with("/v1/auth/co/policy/p/start")) << url;
}

TEST_F(Runner, saysSoWhenItCannotPresent) {
  class Other final : public ViewController {
    std::string_view className() const override { return "Other"; }
  };
  Platform ports = platform.ports();
  ports.storyboard = std::make_shared<Storyboard>();
  ports.storyboard->add("StartFlowVC", [] { return std::make_shared<Other>(); });
  const PlatformScope scope(ports);
  flow->runFlow({.flowId = "f", .fromViewController = window});
  EXPECT_THAT(outcome->calls, IsEmpty());
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: Unable to present view controller..."));
}

TEST_F(Runner, handsBackTheErrorBeforeTheResponse) {
  const JSON response = parsed(R"({"a":1})");
  flow->responseBack(response, VeltraneFlowError::userCancelled());
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled", R"({"a":1})"));
  flow->responseBack(std::nullopt, std::nullopt);
  EXPECT_EQ(outcome->calls.size(), 2u);
}

TEST(Errors, areReadLenientlyFromAServersBody) {
  const auto read = [](const char* body) {
    return ConfigureAPIResponseError::getError(parsed(body));
  };
  auto error = read(R"({"message":"x","code":12,"httpResponseCode":400,
                        "details":{"a":1},"additionalProperties":{"b":2}})");
  EXPECT_EQ(error.reasonName(), "errorResponse");
  EXPECT_EQ(error.message, "x");
  EXPECT_EQ(error.code, "12");
  EXPECT_EQ(error.httpResponseCode, 400);
  EXPECT_EQ(error.details->serialized(), R"({"b":2})");
  EXPECT_EQ(error.errorDescription(), "x");
  error = read(R"({"code":"E1","details":{"a":1},"httpResponseCode":"400"})");
  EXPECT_EQ(error.code, "E1");
  EXPECT_EQ(error.errorDescription(), "Unknown Error!");
  EXPECT_EQ(error.details, std::nullopt);
  EXPECT_EQ(error.httpResponseCode, std::nullopt);
  error = read(R"({"code":[1],"message":5,"additionalProperties":[]})");
  EXPECT_EQ(error.code, "");
  EXPECT_EQ(error.message, std::nullopt);
  EXPECT_EQ(error.details, std::nullopt);
}

}  // namespace
}  // namespace veltrane::testing
