// Identity SDKs in a driven flow: what the script is told of them, and what its answers lead to.
#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::HasSubstr;

json jumioAnswer(const std::string& event) {
  return {{"success", 1},
          {"event", event},
          {"apiKey", "jumio-token"},
          {"clientSecret", "jumio-secret"},
          {"webhookUrl", "https://acme.example/hook"},
          {"credId", "C"},
          {"transactionReference", "T"},
          {"customerInternalReference", "R"}};
}

json onfidoAnswer() {
  return {{"success", 1}, {"token", "onfido-token"}, {"credId", "C"}};
}

class HandOvers : public DriverTest {
 protected:
  /// A flow whose button leads to a hand-over with these properties, and whose step then ends it.
  static void addFlow(const std::string& screenTemplate, const json& answer) {
    const json first = {{"title", {{"value", "Identity"}}},
                        {"nextButtonText", {{"value", "Verify"}}},
                        {"nextEvent", flows::postEvent("begin")}};
    const json step = {{"nextEvent", flows::postEvent("verified")}};
    const json done = {{"success", 1}, {"access_token", "token-of-carol"}};
    server().addFlow("identity",
                     flows::file(flows::document({{"first", "ScreenTemplate1", first},
                                                  {"step", screenTemplate, step}}),
                                 {{"begin", json::array({json{{"answer", answer}}})},
                                  {"verified", json::array({json{{"answer", done}}})}}));
  }
  static std::vector<std::string> jumio(const std::string& event,
                                        const std::vector<std::string>& more = {}) {
    addFlow("ThirdPartyiFrameTemplate", jumioAnswer(event));
    return arguments("identity", more);
  }
  static std::vector<std::string> onfido() {
    addFlow("ThirdPartyTemplate", onfidoAnswer());
    return arguments("identity");
  }
  static json begin(DriverProcess& driver) {
    driver.untilScreen();
    driver.act({{"do", "press"}});
    return driver.until("handover");
  }
  static json answer(DriverProcess& driver, json outcome) {
    return driver.act({{"do", "sdk"}, {"outcome", std::move(outcome)}});
  }
  static void expectRefused(DriverProcess& driver, const json& command, const std::string& why) {
    const auto refused = driver.act(command);
    EXPECT_EQ(refused.at("event"), "refused") << command;
    EXPECT_THAT(refused.value("why", ""), HasSubstr(why)) << command;
  }
  static void expectScreenBelow(DriverProcess& driver) {
    driver.send({{"do", "snapshot"}});
    EXPECT_EQ(driver.until("screen").at("controller"), "ScreenTemplate1VC");
    driver.until("done");
  }
  static json parameters() { return lastBody().at("parameters"); }
  static void expectNoSecrets(const DriverProcess& driver) {
    for (const char* const secret : {"jumio-token", "jumio-secret", "onfido-token"}) {
      EXPECT_EQ(driver.output().find(secret), std::string::npos) << secret;
    }
  }
};

TEST_F(HandOvers, ADocumentScanIsToldAndItsEndIsSent) {
  DriverProcess driver(jumio("registerInitiate"));
  const auto handOver = begin(driver);
  EXPECT_EQ(handOver.at("sdk"), "netverify");
  EXPECT_EQ(handOver.at("presentation"), "default");
  EXPECT_EQ(handOver.at("configuration"), json({{"apiToken", "•••"},
                                                {"apiSecret", "•••"},
                                                {"dataCenter", 0},
                                                {"callbackUrl", "https://acme.example/hook"},
                                                {"customerInternalReference", "R"}}));
  const auto screen = driver.until("screen");
  EXPECT_EQ(screen.at("controller"), "HandOver");
  EXPECT_EQ(screen.at("how"), "modal");
  EXPECT_EQ(screen.size(), 5u) << "no fields of its own: " << screen;

  expectRefused(driver, {{"do", "cancel"}}, "no cancel control");
  expectRefused(driver, {{"do", "back"}}, "no screen to go back to");
  expectRefused(driver, {{"do", "press"}}, "no button");
  EXPECT_EQ(answer(driver, {{"netverify", "finish"}, {"scanReference", "scan-1"}}).at("event"),
            "done");
  EXPECT_EQ(driver.until("result").at("response").at("access_token"), "token-of-carol");
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(
      parameters(),
      json({{"credId", "C"}, {"customerInternalReference", "R"}, {"transactionReference", "T"}}));
  EXPECT_EQ(lastBody().at("eventName"), "verified");
  EXPECT_THAT(driver.output(), HasSubstr("DELEGATE NetVerify success scan reference: scan-1"));
  expectNoSecrets(driver);
}

TEST_F(HandOvers, ACancelledScanIsAnAlertAndIsNotAnsweredAgain) {
  DriverProcess driver(jumio("registerInitiate", {"--tablet"}));
  EXPECT_EQ(begin(driver).at("presentation"), "formSheet");
  const json cancel = {{"netverify", "cancel"}, {"error", "no light"}};
  EXPECT_EQ(answer(driver, cancel).at("event"), "done");
  EXPECT_EQ(driver.until("alert").at("message"), "Unable to scan for document");
  EXPECT_THAT(driver.output(), HasSubstr("scan reference: nil or error: no light"));
  expectRefused(driver, {{"do", "sdk"}, {"outcome", cancel}}, "an alert");
  driver.act({{"do", "dismissAlert"}});
  expectRefused(driver, {{"do", "sdk"}, {"outcome", cancel}}, "no identity SDK is waiting");
  expectScreenBelow(driver);
  driver.act({{"do", "press"}});
  driver.until("handover");
  EXPECT_EQ(answer(driver, {{"netverify", "finish"}}).at("event"), "done");
  EXPECT_EQ(driver.wait(), 0);
}

TEST_F(HandOvers, AFaceCheckGetsReadyAndItsOwnReferenceIsSent) {
  DriverProcess driver(jumio("loginInitiate", {"--tablet"}));
  const auto handOver = begin(driver);
  EXPECT_EQ(handOver.at("sdk"), "jumioAuthentication");
  EXPECT_EQ(handOver.at("presentation"), "default");
  EXPECT_EQ(handOver.at("configuration"), json({{"apiToken", "•••"},
                                                {"apiSecret", "•••"},
                                                {"dataCenter", 0},
                                                {"callbackUrl", "https://acme.example/hook"},
                                                {"enrollmentTransactionReference", "T"}}));
  const json ready = {{"authentication", "ready"}};
  driver.send({{"do", "sdk"}, {"outcome", ready}});
  EXPECT_EQ(driver.until("screen").at("controller"), "HandOver");
  driver.until("done");
  expectRefused(driver, {{"do", "sdk"}, {"outcome", ready}}, "ready already");
  expectRefused(driver, {{"do", "sdk"}, {"outcome", {{"netverify", "finish"}}}},
                "\"jumioAuthentication\"");
  expectRefused(driver, {{"do", "sdk"}, {"outcome", {{"onfido", "success"}}}},
                "\"jumioAuthentication\"");
  answer(driver, {{"authentication", "finish"}, {"transactionReference", "T-2"}});
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(parameters(), json({{"transactionReference", "T-2"}}));
  expectNoSecrets(driver);
}

TEST_F(HandOvers, AFailedFaceCheckIsSilent) {
  DriverProcess driver(jumio("loginInitiate"));
  begin(driver);
  answer(driver, {{"authentication", "ready"}});
  answer(driver, {{"authentication", "error"}, {"error", "no face"}});
  expectScreenBelow(driver);
  EXPECT_TRUE(driver.events("alert").empty());
  EXPECT_THAT(driver.output(), HasSubstr("transactionReference: nil ERROR: no face"));
  EXPECT_EQ(lastBody().at("eventName"), "begin") << "nothing was sent";
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 4);
}

TEST_F(HandOvers, ResultsOfACaptureFlowAreSentByTheirNames) {
  DriverProcess driver(onfido());
  const auto handOver = begin(driver);
  EXPECT_EQ(handOver.at("sdk"), "onfido");
  EXPECT_EQ(handOver.at("presentation"), "default");
  EXPECT_EQ(handOver.at("configuration"),
            json({{"sdkToken", "•••"}, {"steps", {"welcome", "document", "face"}}}));
  EXPECT_EQ(driver.until("screen").at("controller"), "HandOver");
  const json document = {{"href", "/d"},
                         {"id", "d1"},
                         {"type", "passport"},
                         {"side", nullptr},
                         {"createdAt", 1700000000.25}};
  const json face = {{"id", "f1"},          {"href", "/f"},        {"createdAt", 7},
                     {"fileName", "f.jpg"}, {"fileType", "image"}, {"fileSize", 12}};
  answer(driver,
         {{"onfido", "success"},
          {"results", {{{"face", face}}, {{"other", {{"x", 1}}}}, {{"document", document}}}}});
  EXPECT_EQ(driver.wait(), 0);
  json sentDocument = document;
  sentDocument.erase("side");
  EXPECT_EQ(parameters(), json({{"credId", "C"},
                                {"completeProps", json::array({face, sentDocument})},
                                {"success", true}}));
  EXPECT_TRUE(parameters()["completeProps"][0]["createdAt"].is_number_float());
  expectNoSecrets(driver);
}

TEST_F(HandOvers, ACaptureFlowThatEndsOtherwiseLeavesTheUserOnTheScreenBelow) {
  DriverProcess driver(onfido());
  driver.untilScreen();
  for (const json& outcome : {json{{"onfido", "error"}, {"error", "too dark"}},
                              json{{"onfido", "cancel"}, {"reason", "userExit"}},
                              json{{"onfido", "cancel"}, {"reason", "other"}}}) {
    driver.act({{"do", "press"}});
    driver.until("handover");
    EXPECT_EQ(answer(driver, outcome).at("event"), "done");
    expectRefused(driver, {{"do", "sdk"}, {"outcome", outcome}}, "no identity SDK is waiting");
    expectScreenBelow(driver);
  }
  EXPECT_TRUE(driver.events("result").empty());
  EXPECT_THAT(driver.output(), HasSubstr("onFido flow cancelled by user..."));
  EXPECT_THAT(driver.output(), HasSubstr("onFido flow unknown error..."));
  driver.act({{"do", "press"}});
  driver.until("handover");
  answer(driver, {{"onfido", "success"}, {"results", json::array()}});
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(parameters()["completeProps"], json::array());
}

TEST_F(HandOvers, OutcomesThatCannotBeUnderstoodAreRefusedAndChangeNothing) {
  DriverProcess driver(onfido());
  begin(driver);
  const std::vector<std::pair<json, std::string>> wrong = {
      {json::object(), "exactly one"},
      {{{"onfido", "success"}, {"netverify", "finish"}}, "exactly one"},
      {{{"onfido", 5}}, "\"onfido\""},
      {{{"onfido", "finish"}}, "\"onfido\""},
      {{{"onfido", "cancel"}}, "\"reason\""},
      {{{"onfido", "cancel"}, {"reason", "bored"}}, "\"reason\""},
      {{{"onfido", "success"}, {"results", "none"}}, "\"results\""},
      {{{"onfido", "success"}, {"results", {5}}}, "\"results\""},
      {{{"onfido", "success"}, {"results", {{{"face", 5}}}}}, "\"results\""},
      {{{"onfido", "success"}, {"results", {{{"face", {{"id", 5}}}}}}}, "\"id\""},
      {{{"onfido", "success"}, {"results", {{{"face", {{"createdAt", "now"}}}}}}}, "\"createdAt\""},
      {{{"onfido", "success"}, {"results", {{{"face", {{"fileSize", 1.5}}}}}}}, "\"fileSize\""},
      {{{"netverify", "ready"}}, "\"netverify\""},
      {{{"authentication", "done"}}, "\"authentication\""},
      {{{"authentication", "finish"}}, "\"transactionReference\""},
  };
  for (const auto& [outcome, why] : wrong) {
    expectRefused(driver, {{"do", "sdk"}, {"outcome", outcome}}, why);
  }
  answer(driver, {{"onfido", "success"}});
  EXPECT_EQ(driver.wait(), 0);
}

TEST_F(HandOvers, AJailbrokenDeviceStaysOnItsScreenWithoutAWord) {
  for (const char* const event : {"registerInitiate", "loginInitiate"}) {
    DriverProcess driver(jumio(event, {"--device-jailbroken"}));
    driver.untilScreen();
    driver.act({{"do", "press"}});
    driver.act({{"do", "wait"}, {"for", "idle"}});
    expectScreenBelow(driver);
    driver.closeInput();
    EXPECT_EQ(driver.wait(), 4);
    for (const char* const name : {"handover", "alert", "result"}) {
      EXPECT_TRUE(driver.events(name).empty()) << event << ": " << name;
    }
    EXPECT_EQ(lastBody().at("eventName"), "begin");
  }
}

TEST_F(HandOvers, AMissingKeyEndsTheFlowWithTheNameOfWhatIsMissing) {
  auto noSecret = jumioAnswer("registerInitiate");
  noSecret["clientSecret"] = 5;
  auto noReference = jumioAnswer("loginInitiate");
  noReference.erase("transactionReference");
  const json noToken = {{"success", 1}, {"credId", "C"}};
  const std::vector<std::tuple<std::string, json, std::string>> wrong = {
      {"ThirdPartyiFrameTemplate", noSecret, "Missing Jumio credentials"},
      {"ThirdPartyiFrameTemplate", noReference,
       "transactionReference missing in Jumio, please contact Veltrane support"},
      {"ThirdPartyTemplate", noToken, "onFido Token or credId missing"}};
  for (const auto& [screenTemplate, properties, message] : wrong) {
    addFlow(screenTemplate, properties);
    DriverProcess driver(arguments("identity"));
    driver.untilScreen();
    driver.send({{"do", "press"}});
    const auto error = driver.until("result").at("error");
    EXPECT_EQ(error.at("reason"), "veltraneError");
    EXPECT_EQ(error.at("description"), message);
    EXPECT_EQ(driver.wait(), 1);
  }
}

TEST_F(HandOvers, TheFlowCanEndUnderOneAndTheInputToo) {
  {
    DriverProcess driver(jumio("registerInitiate"));
    begin(driver);
    driver.send({{"do", "post"}, {"userInfo", {{"error", "The host has had enough."}}}});
    EXPECT_EQ(driver.until("result").at("error").at("description"), "The host has had enough.");
    EXPECT_EQ(driver.wait(), 1);
  }
  DriverProcess driver(onfido());
  driver.sendAll({{{"do", "press"}}});
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 4) << "nobody is left to answer the SDK";
}

}  // namespace
}  // namespace veltrane::testing
