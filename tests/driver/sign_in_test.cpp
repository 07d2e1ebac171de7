#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class SignIn : public DriverTest {};

/// At the password screen, with the name given.
void giveName(DriverProcess& driver) {
  driver.untilScreen();
  driver.act({{"do", "input"}, {"key", "username"}, {"text", "carol"}});
  driver.act({{"do", "press"}});
  driver.untilScreen();
}

json rowOfKey(const json& screen, const std::string& key) {
  for (const auto& row : screen.at("rows")) {
    if (row.at("key") == key) return row;
  }
  return {};
}

TEST_F(SignIn, LeadsThroughBothStepsToTheHostsResponse) {
  DriverProcess driver(arguments("sign-in", {"--access-token", "first-token"}));
  const auto start = driver.untilScreen("StartFlowVC");
  EXPECT_EQ(start.at("how"), "present");
  EXPECT_FALSE(start.at("retryVisible"));

  const auto who = driver.untilScreen();
  EXPECT_EQ(who.at("how"), "root");
  EXPECT_EQ(who.at("depth"), 1);
  EXPECT_EQ(who.at("title"), "Sign in");
  EXPECT_EQ(who.at("navigationTitle"), "Acme");
  EXPECT_EQ(who.at("userViewIndex"), 0);
  const auto field = rowOfKey(who, "username");
  EXPECT_EQ(field.at("cell"), "TextFieldTableViewCell");
  EXPECT_EQ(field.at("type"), "textField");
  EXPECT_EQ(field.at("caption"), "User name");
  EXPECT_EQ(field.at("keyboard"), "emailAddress");
  EXPECT_EQ(field.at("secure"), false);
  EXPECT_TRUE(field.at("placeholder").is_null());

  driver.send({{"do", "input"}, {"key", "username"}, {"text", "carol"}});
  const auto typed = driver.until("row");
  EXPECT_EQ(typed.at("screen"), who.at("screen"));
  EXPECT_EQ(typed.at("row").at("text"), "carol");
  EXPECT_EQ(driver.until("done").at("do"), "input");
  driver.act({{"do", "press"}});

  const auto secret = driver.untilScreen();
  EXPECT_EQ(secret.at("how"), "push");
  EXPECT_EQ(secret.at("depth"), 2);
  EXPECT_NE(secret.at("screen"), who.at("screen"));
  driver.send({{"do", "input"}, {"row", 0}, {"text", "wine-dark"}});
  EXPECT_EQ(driver.until("row").at("row").at("text"), "•••••••••");
  driver.act({{"do", "press"}});

  const auto result = driver.until("result");
  EXPECT_EQ(result.at("response").at("user"), "carol");
  EXPECT_TRUE(result.at("error").is_null());
  driver.until("dismissed");
  EXPECT_EQ(driver.until("bye").at("exit"), 0);
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(driver.errors(), "");
}

TEST_F(SignIn, KeepsSecretsOutOfEveryLine) {
  DriverProcess driver(arguments("sign-in", {"--access-token", "first-token"}));
  giveName(driver);
  driver.act({{"do", "input"}, {"key", "password"}, {"text", "wine-dark"}});
  driver.act({{"do", "snapshot"}});
  driver.act({{"do", "press"}});
  ASSERT_EQ(driver.wait(), 0);
  EXPECT_THAT(driver.output(), Not(HasSubstr("wine-dark")));
  EXPECT_THAT(driver.output(), Not(HasSubstr("first-token")));
  const auto request = driver.events("request").back();
  EXPECT_EQ(request.at("headers").at("Authorization"), "Bearer •••");
  EXPECT_EQ(request.at("body").at("parameters").at("password"), "•••");
  EXPECT_EQ(lastBody().at("parameters").at("password"), "wine-dark");
  EXPECT_EQ(server().requests().back().header("Authorization"), "Bearer first-token");
}

TEST_F(SignIn, TellsOfEachRequestAndItsAnswer) {
  DriverProcess driver(arguments("sign-in"));
  giveName(driver);
  const auto requests = driver.events("request");
  const auto answers = driver.events("answer");
  ASSERT_EQ(requests.size(), 2);
  ASSERT_EQ(answers.size(), 2);
  EXPECT_EQ(requests[0].at("method"), "POST");
  EXPECT_TRUE(requests[0].at("body").is_null());
  EXPECT_EQ(requests[1].at("body").at("eventName"), "who");
  EXPECT_EQ(answers[1].at("url"), requests[1].at("url"));
  EXPECT_EQ(answers[1].at("status"), 200);
  EXPECT_TRUE(answers[1].at("ms").is_number_integer());
  std::vector<bool> loading;
  for (const auto& event : driver.events("loading")) loading.push_back(event.at("visible"));
  EXPECT_THAT(loading, ElementsAre(true, false));
}

TEST_F(SignIn, AnEmptyFieldIsAskedForAndNothingIsSent) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  const auto sent = server().requests().size();
  driver.act({{"do", "input"}, {"key", "username"}, {"text", "  "}});
  driver.act({{"do", "press"}});
  const auto alert = driver.until("alert");
  EXPECT_EQ(alert.at("title"), "Veltrane Flow");
  EXPECT_EQ(alert.at("message"), "Please input username");
  EXPECT_EQ(alert.at("actions"), json::array({"OK"}));

  for (const char* const act : {"press", "back", "cancel"}) {
    EXPECT_EQ(driver.act({{"do", act}}).at("event"), "refused") << act;
  }
  EXPECT_EQ(driver.act({{"do", "snapshot"}}).at("event"), "done");
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "idle"}}).at("event"), "done");
  EXPECT_EQ(driver.act({{"do", "dismissAlert"}}).at("event"), "done");
  EXPECT_EQ(driver.act({{"do", "dismissAlert"}}).at("event"), "refused");
  EXPECT_EQ(server().requests().size(), sent);

  driver.act({{"do", "input"}, {"key", "username"}, {"text", "carol"}});
  driver.act({{"do", "press"}});
  EXPECT_EQ(driver.untilScreen().at("userViewIndex"), 1);
}

TEST_F(SignIn, WhatTheUserSetsIsSentAndWhatTheUserLeavesAlone) {
  DriverProcess driver(arguments("sign-in"));
  const auto screen = driver.untilScreen();
  EXPECT_EQ(rowOfKey(screen, "remember").at("on"), true);
  EXPECT_EQ(rowOfKey(screen, "language").at("options"),
            json::array({"English", "Suomi", "5", "true"}));
  EXPECT_EQ(rowOfKey(screen, "language").at("title"), "Select Language");
  driver.act({{"do", "input"}, {"key", "username"}, {"text", "carol"}});
  driver.act({{"do", "choose"}, {"key", "language"}, {"option", "Dismiss"}});
  EXPECT_EQ(driver.act({{"do", "choose"}, {"key", "language"}, {"option", "Latin"}}).at("event"),
            "refused");
  driver.send({{"do", "choose"}, {"row", 2}, {"option", "5"}});
  EXPECT_EQ(driver.until("row").at("row").at("title"), "5");
  driver.act({{"do", "press"}});
  driver.untilScreen();
  EXPECT_EQ(lastBody().at("parameters"),
            json({{"username", "carol"}, {"remember", true}, {"language", "5"}}));
  EXPECT_THAT(driver.events("alert"), ElementsAre());
}

TEST_F(SignIn, GoesBackToTheFirstStepAndOnAgain) {
  DriverProcess driver(arguments("sign-in"));
  giveName(driver);
  driver.send({{"do", "back"}});
  const auto who = driver.untilScreen();
  EXPECT_EQ(driver.until("done").at("do"), "back");
  EXPECT_EQ(who.at("how"), "back");
  EXPECT_EQ(who.at("depth"), 1);
  EXPECT_EQ(rowOfKey(who, "username").at("text"), "carol");
  EXPECT_EQ(driver.act({{"do", "back"}}).at("event"), "refused");
  driver.act({{"do", "toggle"}, {"key", "remember"}, {"on", false}});
  driver.act({{"do", "press"}});
  EXPECT_EQ(driver.untilScreen().at("depth"), 2);
  EXPECT_EQ(lastBody().at("parameters").at("remember"), false);
}

TEST_F(SignIn, AnErrorAnswerReachesTheHostWithItsFields) {
  DriverProcess driver(arguments("sign-in"));
  giveName(driver);
  driver.act({{"do", "input"}, {"key", "password"}, {"text", "guess"}});
  driver.act({{"do", "press"}});
  const auto result = driver.until("result");
  EXPECT_TRUE(result.at("response").is_null());
  EXPECT_EQ(result.at("error"), json({{"reason", "errorResponse"},
                                      {"description", "Wrong password."},
                                      {"message", "Wrong password."},
                                      {"code", "4011"},
                                      {"httpResponseCode", 401},
                                      {"details", nullptr}}));
  EXPECT_EQ(driver.wait(), 1);
}

TEST_F(SignIn, AWholeScriptFromAPipeNeedsNoReader) {
  DriverProcess driver(arguments("sign-in"));
  driver.sendAll({{{"do", "input"}, {"key", "username"}, {"text", "carol"}},
                  {{"do", "press"}},
                  {{"do", "wait"}, {"for", "screen"}},
                  {{"do", "input"}, {"key", "password"}, {"text", "wine-dark"}},
                  {{"do", "press"}},
                  {{"do", "wait"}, {"for", "result"}}});
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 0);
  EXPECT_EQ(driver.events("done").size(), 6);
  EXPECT_THAT(driver.events("refused"), ElementsAre());
}

}  // namespace
}  // namespace veltrane::testing
