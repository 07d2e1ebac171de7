#include <csignal>
#include <fstream>
#include <iterator>

#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;

class RunEnd : public DriverTest {};

std::vector<std::string> names(const std::vector<json>& events) {
  std::vector<std::string> names;
  for (const auto& event : events) names.push_back(event.at("event"));
  return names;
}

void expectGreetingAndFarewell(const DriverProcess& driver, int status) {
  ASSERT_GE(driver.events().size(), 2);
  const auto& hello = driver.events().front();
  EXPECT_EQ(hello.at("event"), "hello");
  EXPECT_EQ(hello.at("protocol"), 1);
  EXPECT_TRUE(hello.at("version").is_string());
  EXPECT_EQ(driver.events().back(), json({{"event", "bye"}, {"exit", status}}));
  EXPECT_EQ(driver.events("bye").size(), 1);
  EXPECT_TRUE(driver.output().ends_with("\n"));
}

TEST_F(RunEnd, WithTheInputWhenNothingMoreCanHappen) {
  DriverProcess driver(arguments("sign-in"));
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 4);
  expectGreetingAndFarewell(driver, 4);
  EXPECT_EQ(driver.events("screen").back().at("controller"), "ScreenTemplate1VC");
}

TEST_F(RunEnd, NotWithTheInputWhileARequestRuns) {
  DriverProcess driver(arguments("silent", {"--timeout", "1"}));
  driver.closeInput();
  EXPECT_EQ(driver.wait(), 1);
  EXPECT_EQ(driver.events("result").size(), 1);
  expectGreetingAndFarewell(driver, 1);
}

TEST_F(RunEnd, AtQuitWhateverItWaitsFor) {
  DriverProcess starting(arguments("silent"));
  starting.untilScreen("StartFlowVC");
  starting.send({{"do", "quit"}});
  EXPECT_EQ(starting.wait(), 4);
  expectGreetingAndFarewell(starting, 4);

  DriverProcess hanging(arguments("silent-event"));
  hanging.untilScreen();
  hanging.act({{"do", "press"}});
  hanging.sendAll({{{"do", "wait"}, {"for", "result"}, {"timeout", 600}},
                   {{"do", "press"}},
                   {{"do", "quit"}},
                   {{"do", "back"}}});
  EXPECT_EQ(hanging.wait(), 4);
  const auto& events = hanging.events();
  EXPECT_THAT(names({events.end() - 5, events.end()}),
              ElementsAre("refused", "refused", "done", "refused", "bye"));
  EXPECT_EQ((events.end() - 3)->at("do"), "quit");
}

TEST_F(RunEnd, AScriptThatGetsOnIsCarriedOutBeforeItsQuit) {
  DriverProcess driver(arguments("sign-in"));
  driver.sendAll({{{"do", "input"}, {"key", "username"}, {"text", "carol"}},
                  {{"do", "press"}},
                  {{"do", "wait"}, {"for", "screen"}},
                  {{"do", "quit"}}});
  EXPECT_EQ(driver.wait(), 4);
  EXPECT_EQ(driver.events("done").size(), 4);
  EXPECT_TRUE(driver.events("refused").empty());
}

TEST_F(RunEnd, CommandsThatAreReadyComeBeforeQuit) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  driver.act({{"do", "wait"}, {"for", "idle"}});
  driver.sendAll({{{"do", "input"}, {"key", "username"}, {"text", "carol"}},
                  {{"do", "snapshot"}},
                  {{"do", "quit"}}});
  EXPECT_EQ(driver.wait(), 4);
  EXPECT_EQ(driver.events("done").size(), 4);
}

TEST_F(RunEnd, LeftOverCommandsAreRefusedBeforeTheEnd) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  driver.sendAll({{{"do", "cancel"}}, {{"do", "press"}}, {{"do", "snapshot"}}});
  EXPECT_EQ(driver.wait(), 3);
  EXPECT_EQ(driver.events("refused").size(), 2);
  expectGreetingAndFarewell(driver, 3);
}

TEST_F(RunEnd, AFailureAtOnceIsToldInOrder) {
  DriverProcess driver(
      {"drive", "--company", "acme", "--flow", "any", "--base-url", "http://127.0.0.1:1/v1"});
  EXPECT_EQ(driver.wait(), 1);
  auto order = names(driver.events());
  // They come from another thread, any time after the request.
  std::erase(order, "answer");
  std::erase(order, "console");
  EXPECT_THAT(order, ElementsAre("hello", "request", "screen", "result", "dismissed", "bye"));
  EXPECT_EQ(driver.events("screen").front().at("depth"), 1);
}

TEST_F(RunEnd, AResultWithoutAFlowOnDisplayIsTheEnd) {
  DriverProcess driver({"drive", "--company", "acme"});
  EXPECT_EQ(driver.wait(), 1);
  EXPECT_EQ(driver.events("result").front().at("error").at("description"),
            "Both flowId and policyId can not be nil. Please supply at least one of them.");
  EXPECT_TRUE(driver.events("screen").empty());
  EXPECT_TRUE(driver.events("dismissed").empty());
}

TEST_F(RunEnd, AWaitForTheResultIsAnsweredByTheOneThatEndsTheRun) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  driver.sendAll({{{"do", "cancel"}}, {{"do", "wait"}, {"for", "result"}}});
  EXPECT_EQ(driver.wait(), 3);
  EXPECT_EQ(driver.events("done").back().at("do"), "wait");
}

TEST_F(RunEnd, OnASignalInGoodOrder) {
  for (const int number : {SIGINT, SIGTERM}) {
    DriverProcess driver(arguments("sign-in"));
    driver.untilScreen();
    driver.signal(number);
    EXPECT_EQ(driver.wait(), 4);
    expectGreetingAndFarewell(driver, 4);
  }
}

TEST_F(RunEnd, WhenNobodyReadsAnyMore) {
  DriverProcess driver(arguments("sign-in"));
  driver.untilScreen();
  driver.closeOutput();
  driver.send({{"do", "snapshot"}});
  EXPECT_EQ(driver.wait(), 4);
  EXPECT_EQ(driver.errors(), "");
}

TEST_F(RunEnd, LeavesNothingBehind) {
  const ScratchFolder temporary;
  DriverProcess driver(arguments("sign-in"), {"TMPDIR=" + temporary.path().string()});
  driver.untilScreen();
  EXPECT_FALSE(std::filesystem::is_empty(temporary.path()));
  driver.signal(SIGTERM);
  driver.wait();
  EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
}

TEST_F(RunEnd, WhatAKilledRunLeavesIsRemovedByTheNext) {
  const ScratchFolder temporary;
  const auto count = [&] {
    const std::filesystem::directory_iterator entries(temporary.path());
    return std::distance(begin(entries), end(entries));
  };
  const std::vector<std::string> environment = {"TMPDIR=" + temporary.path().string()};
  DriverProcess living(arguments("sign-in"), environment);
  living.untilScreen();
  {
    // The destructor kills and waits.
    DriverProcess killed(arguments("sign-in"), environment);
    killed.untilScreen();
  }
  // Others' files stay, whatever they are called.
  std::filesystem::create_directory(temporary.path() / "vtflow-scratch-notes");
  std::ofstream(temporary.path() / "vtflow-scratch-123456") << "a file";
  EXPECT_EQ(count(), 4);
  DriverProcess next(arguments("sign-in"), environment);
  next.untilScreen();
  EXPECT_EQ(count(), 4);
  for (DriverProcess* const run : {&living, &next}) {
    run->signal(SIGTERM);
    EXPECT_EQ(run->wait(), 4);
  }
  EXPECT_EQ(count(), 2);
}

class StartScreen : public DriverTest {};

TEST_F(StartScreen, TakesCancelAndPostWhileTheAnswerIsAwaited) {
  DriverProcess driver(arguments("silent"));
  driver.untilScreen("StartFlowVC");
  EXPECT_EQ(driver.act({{"do", "retry"}}).at("event"), "refused");
  EXPECT_EQ(driver.act({{"do", "post"}, {"userInfo", {{"error", "x"}}}}).at("event"), "done");
  driver.send({{"do", "cancel"}});
  EXPECT_EQ(driver.until("result").at("error").at("description"), "User Cancelled");
  EXPECT_EQ(driver.wait(), 3);
  EXPECT_EQ(driver.events("request").size(), driver.events("answer").size());
}

TEST_F(StartScreen, OffersRetryWhenTheAnswerStaysAway) {
  DriverProcess driver(arguments("silent"));
  const auto offered =
      driver.until([](const json& event) { return event.value("retryVisible", false); });
  EXPECT_EQ(offered.at("event"), "screen");
  EXPECT_EQ(offered.at("how"), "reload");
  // By the time of the next question the server answers.
  server().addFlow("silent", flows::signIn());
  driver.send({{"do", "retry"}});
  EXPECT_EQ(driver.untilScreen("ScreenTemplate1VC").at("how"), "root");
  EXPECT_EQ(driver.events("request").size(), 2);
  server().addFlow("silent", flows::silent());
}

TEST_F(StartScreen, OtherCommandsWaitForTheFirstScreen) {
  DriverProcess driver(arguments("sign-in"));
  driver.send({{"do", "snapshot"}});
  EXPECT_EQ(driver.untilScreen().at("how"), "root");
  EXPECT_EQ(driver.untilScreen().at("how"), "reload");
  EXPECT_EQ(driver.until("done").at("do"), "snapshot");
}

}  // namespace
}  // namespace veltrane::testing
