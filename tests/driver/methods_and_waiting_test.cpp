#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

class Methods : public DriverTest {};

json property(json value) {
  return {{"value", std::move(value)}};
}

json connector(const std::string& title, const std::string& icon, const std::string& screen) {
  json made = {{"connectorId", "c-" + title},
               {"connectionId", "con-" + title},
               {"capabilityName", "challenge"},
               {"properties",
                {{"title", property(title)},
                 {"authDescription", property("by " + title)},
                 {"iconUrlPng", property(icon)}}}};
  if (!screen.empty()) {
    made["userViews"] =
        json::array({{{"screenTemplateName", "ScreenTemplate1"}, {"screenConfigName", screen}}});
  }
  return made;
}

TEST_F(Methods, AreListedGetTheirIconsAndLeadToTheirScreens) {
  auto start = flows::document({{"code",
                                 "ScreenTemplate1",
                                 {{"title", property("Code")},
                                  {"nextEvent", flows::postEvent("verify")},
                                  {"nextButtonText", property("Verify")}}}});
  start["screen"]["userViews"] = json::array(
      {{{"screenTemplateName", "MfaScreen1"}, {"items", {{{"propertyName", "mfaList"}}}}}});
  start["screen"]["properties"]["mfaList"] = {
      {"constructType", "vtConnectorList"},
      {"value",
       {connector("Code", "${serverURL}/pictures/code.png", "code"),
        connector("Nothing", "${serverURL}/pictures/torn/key.png", "")}}};
  server().addFlow("methods", flows::file(start, {{"verify", {{{"answer", {{"success", 1}}}}}}}));

  DriverProcess driver(arguments("methods", {"--screen", "390x844@2"}));
  const auto list = driver.untilScreen("MfaScreen1VC");
  const auto icon = driver.until("row");
  EXPECT_EQ(icon.at("screen"), list.at("screen"));
  EXPECT_EQ(icon.at("row"), json({{"row", 0},
                                  {"cell", "MFATableViewCell"},
                                  {"title", "Code"},
                                  {"subTitle", "by Code"},
                                  {"icon", {80, 80}}}));
  EXPECT_EQ(driver.act({{"do", "select"}, {"row", 2}}).at("event"), "refused");
  driver.act({{"do", "select"}, {"row", 1}});
  EXPECT_EQ(driver.until("alert").at("message"), "This method is not available.");
  driver.act({{"do", "dismissAlert"}});
  driver.act({{"do", "select"}, {"row", 0}});
  EXPECT_EQ(driver.untilScreen().at("how"), "push");
  driver.send({{"do", "back"}});
  const auto back = driver.untilScreen("MfaScreen1VC");
  driver.until("done");
  EXPECT_EQ(back.at("rows").at(0).at("icon"), json({80, 80}));
  EXPECT_TRUE(back.at("rows").at(1).at("icon").is_null());
  driver.act({{"do", "select"}, {"row", 0}});
  driver.untilScreen();
  driver.act({{"do", "press"}});
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(lastBody().at("connectionId"), "con-Code");
  EXPECT_EQ(lastBody().at("capabilityName"), "challenge");
}

class Waiting : public DriverTest {
 protected:
  /// A screen that asks every 100 ms, `retries` times, for a challenge of this description.
  static std::string waiting(const json& challenge, int retries) {
    const auto start = flows::document({{"wait",
                                         "MessageScreen",
                                         {{"enablePolling", property(true)},
                                          {"pollInterval", property(100)},
                                          {"pollRetries", property(retries)},
                                          {"challenge", property("${challenge:phone}")}}}});
    const json events = {{"continue",
                          {{{"when", {{"parameters.pollResponse", "approved"}}},
                            {"answer", {{"success", 1}, {"access_token", "t"}}}},
                           {{"answer", {{"success", 0}, {"message", "no"}, {"code", "no"}}}}}}};
    return json{{"start", start}, {"events", events}, {"challenges", {{"phone", challenge}}}}
        .dump();
  }
  static json step(json answer, int times = 1) {
    return {{"answer", std::move(answer)}, {"times", times}};
  }
};

TEST_F(Waiting, GoesOnPastOddAnswersToTheApproval) {
  const json challenge = {{"for", "a test"},
                          {"status", json::array({{{"trouble", {{"rawBody", "[\"approved\"]"}}}},
                                                  step(json::object()),
                                                  step({{"status", "Approved"}}),
                                                  {{"trouble", {{"noAnswer", true}}}},
                                                  step({{"status", "approved"}}, 5)})}};
  server().addFlow("unruly", waiting(challenge, 1000));
  DriverProcess driver(arguments("unruly"));
  driver.untilScreen();
  EXPECT_EQ(driver.until("alert").at("message"), "Invalid Response! JSON data conversion error");
  driver.act({{"do", "dismissAlert"}});
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 0) << driver.output();
  EXPECT_EQ(driver.events("result").size(), 1);
  EXPECT_EQ(driver.events("alert").size(), 1);
}

TEST_F(Waiting, EndsWithTheBudgetOfQuestionsOrAtAFailure) {
  server().addFlow("patient", waiting({{"for", "a test"}}, 3));
  DriverProcess patient(arguments("patient"));
  patient.closeInput();
  EXPECT_EQ(patient.wait(), 1) << patient.output();
  EXPECT_EQ(lastBody().at("parameters").at("pollResponse"), "timedOut");

  const json broken = {{"trouble", {{"closeConnection", true}}}};
  server().addFlow("failing", waiting({{"for", "a test"}, {"status", json::array({broken})}}, 3));
  DriverProcess failing(arguments("failing"));
  EXPECT_EQ(failing.until("alert").at("message"), "No response from server...");
  failing.act({{"do", "dismissAlert"}});
  EXPECT_EQ(failing.events("loading").back().at("visible"), false);
  failing.act({{"do", "cancel"}});
  EXPECT_EQ(failing.wait(), 3);
}

}  // namespace
}  // namespace veltrane::testing
