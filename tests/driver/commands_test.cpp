#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Commands : public DriverTest {};

struct Wrong {
  const char* line;
  const char* why;
};

TEST_F(Commands, WhatCannotBeDoneIsRefusedWithTheReasonAndChangesNothing) {
  static constexpr Wrong kWrong[] = {
      {R"({"do":"fly"})", "no such command"},
      {R"({"do":"input","text":"x"})", "exactly one"},
      {R"({"do":"input","key":"username","row":0,"text":"x"})", "exactly one"},
      {R"({"do":"input","key":"username"})", "\"text\""},
      {R"({"do":"input","key":"username","text":5})", "\"text\""},
      {R"({"do":"input","key":"remember","text":"x"})", "no text field of the key \"remember\""},
      {R"({"do":"input","key":"nobody","text":"x"})", "nobody"},
      {R"({"do":"input","row":1,"text":"x"})", "row 1"},
      {R"({"do":"input","row":-1,"text":"x"})", "\"row\""},
      {R"({"do":"input","row":99999999999,"text":"x"})", "no text field"},
      {R"({"do":"input","row":true,"text":"x"})", "\"row\""},
      {R"({"do":"toggle","key":"remember"})", "\"on\""},
      {R"({"do":"toggle","key":"remember","on":1})", "\"on\""},
      {R"({"do":"toggle","key":"username","on":true})", "no switch"},
      {R"({"do":"choose","key":"language"})", "\"option\""},
      {R"({"do":"choose","key":"username","option":"5"})", "no dropdown"},
      {R"({"do":"choose","key":"language","option":"Latin"})", "no such option"},
      {R"({"do":"press","row":0})", "no button in row 0"},
      {R"({"do":"press","row":"0"})", "\"row\""},
      {R"({"do":"select","row":0})", "no list of methods"},
      {R"({"do":"select"})", "\"row\""},
      {R"({"do":"back"})", "no screen to go back to"},
      {R"({"do":"retry"})", "no retry"},
      {R"({"do":"dismissAlert"})", "no alert"},
      {R"({"do":"sdk","outcome":{"onfido":"success"}})", "no identity SDK"},
      {R"({"do":"sdk"})", "\"outcome\""},
      {R"({"do":"post"})", "\"userInfo\""},
      {R"({"do":"post","userInfo":{"error":"x","response":{}}})", "\"userInfo\""},
      {R"({"do":"post","userInfo":{"response":[]}})", "\"userInfo\""},
      {R"({"do":"wait"})", "\"for\""},
      {R"({"do":"wait","for":"rain"})", "\"for\""},
      {R"({"do":"wait","for":"idle","timeout":-1})", "\"timeout\""},
      {R"({"do":"wait","for":"idle","timeout":"1"})", "\"timeout\""},
  };
  DriverProcess driver(arguments("sign-in"));
  const auto before = driver.untilScreen();
  const auto sent = server().requests().size();
  for (const auto& wrong : kWrong) {
    const auto answer = driver.act(json::parse(wrong.line));
    EXPECT_EQ(answer.at("event"), "refused") << wrong.line;
    EXPECT_THAT(answer.value("why", ""), HasSubstr(wrong.why)) << wrong.line;
  }
  driver.send({{"do", "snapshot"}});
  EXPECT_EQ(driver.untilScreen().at("rows"), before.at("rows"));
  EXPECT_THAT(driver.events("row"), IsEmpty());
  EXPECT_THAT(driver.events("alert"), IsEmpty());
  EXPECT_EQ(server().requests().size(), sent);
}

TEST_F(Commands, LinesThatAreNoCommandAreRefusedInTheirPlace) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  const std::string lines[] = {
      "",
      "nonsense",
      "[]",
      "5",
      "\"x\"",
      "{}",
      "{\"do\":5}",
      "{\"do\":\"press\"",
      std::string("{\"do\":\"\xff\xfe\"}"),
      std::string(200'000, '['),
      "{\"do\":\"input\",\"text\":\"" + std::string(20 << 20, 'x') + "\"}"};
  for (const auto& line : lines) {
    driver.sendText(line + "\n");
    const auto answer = driver.until("refused");
    EXPECT_TRUE(answer.at("do").is_null()) << line.substr(0, 40);
    EXPECT_FALSE(answer.value("why", "").empty()) << line.substr(0, 40);
  }
  // What follows is read as if nothing had been.
  EXPECT_EQ(driver.act({{"do", "snapshot"}, {"unknown", "field"}}).at("event"), "done");
  driver.sendText("nonsense\n{\"do\":\"snapshot\"}\r\nnonsense\n");
  driver.until("refused");
  driver.until("done");
  driver.until("refused");
}

TEST_F(Commands, TheLastLineNeedsNoLineBreak) {
  DriverProcess driver(arguments("sign-in"));
  driver.sendText(R"({"do":"cancel"})");
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 3);
}

TEST_F(Commands, WaitForAScreenMeansOneSinceTheLastAct) {
  DriverProcess driver(arguments("sign-in"));
  driver.send({{"do", "wait"}, {"for", "screen"}});
  driver.untilScreen();
  EXPECT_EQ(driver.until("done").at("do"), "wait");
  // Seen is seen, until the user does something; a snapshot is no news.
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "screen"}, {"timeout", 0}}).at("event"), "done");
  driver.act({{"do", "input"}, {"key", "username"}, {"text", "carol"}});
  driver.act({{"do", "snapshot"}});
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "screen"}, {"timeout", 0}}).at("event"), "refused");
  driver.act({{"do", "press"}});
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "screen"}}).at("event"), "done");
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "result"}, {"timeout", 0.01}}).at("event"),
            "refused");
}

TEST_F(Commands, WhatFollowsARequestWaitsForItsAnswer) {
  DriverProcess driver(arguments("silent-event", {"--timeout", "1"}));
  driver.untilScreen();
  driver.act({{"do", "press"}});
  EXPECT_EQ(driver.act({{"do", "wait"}, {"for", "idle"}, {"timeout", 0.05}}).at("event"),
            "refused");
  // The request times out, the flow ends, and the command is left over.
  driver.send({{"do", "input"}, {"key", "name"}, {"text", "x"}});
  driver.until("result");
  driver.until("dismissed");
  EXPECT_EQ(driver.until("refused").at("do"), "input");
  driver.until("bye");
  EXPECT_EQ(driver.wait(), 1);
  EXPECT_TRUE(driver.events("answer").back().at("status").is_null());
}

TEST_F(Commands, TheHostMayEndTheFlow) {
  DriverProcess refused(arguments("sign-in"));
  refused.untilScreen();
  refused.act({{"do", "post"}, {"userInfo", {{"error", "the host's reason"}}}});
  EXPECT_EQ(refused.until("result").at("error").at("description"), "the host's reason");
  EXPECT_EQ(refused.wait(), 1);

  DriverProcess granted(arguments("sign-in"));
  granted.untilScreen();
  granted.act({{"do", "post"}, {"userInfo", {{"response", {{"by", "the host"}, {"n", 2.5}}}}}});
  EXPECT_EQ(granted.until("result").at("response"), json({{"by", "the host"}, {"n", 2.5}}));
  EXPECT_EQ(granted.wait(), 0);
}

}  // namespace
}  // namespace veltrane::testing
