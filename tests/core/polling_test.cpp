#include <cmath>

#include "tests/core/host.h"
#include "veltrane/network/poll_for_challenge_status.h"

namespace veltrane::testing {
namespace {

class Polling : public Host {
 protected:
  void start(double retries, double interval = 1000) {
    UserDefaultsManager::saveAccessToken("tok");
    run = PollForChallengeStatus::startClientSidePoll(
        {.companyId = "c",
         .challengeId = "ch 1",
         .pollInterval = interval,
         .pollRetries = retries,
         .interactionId = "i",
         .callback = [this](const auto& status, const auto& error) {
           EXPECT_NE(status.has_value(), error.has_value());
           heard.push_back(status ? *status : "error: " + *error);
         }});
  }
  void tick() { platform.mainQueue->advance(std::chrono::milliseconds(1000)); }

  std::vector<std::string> heard;
  std::shared_ptr<PollForChallengeStatus::Run> run;
};

TEST_F(Polling, asksOneIntervalLaterWithTheAuthorizationAlone) {
  start(3);
  EXPECT_EQ(requests(), 0u);
  UserDefaultsManager::saveAccessToken("later");
  tick();
  EXPECT_EQ(request().method, "POST");
  EXPECT_EQ(request().purpose, RequestPurpose::polling);
  EXPECT_TRUE(
      request().url.ends_with("/auth/c/user/credentials/challenge/ch%201/status?interactionId=i"));
  EXPECT_EQ(request().body, std::nullopt);
  ASSERT_EQ(request().headers.size(), 2u);
  EXPECT_EQ(request().headers[0].second, "Bearer tok");
  EXPECT_EQ(request().headers[1].first, "vt-agent");
}

TEST_F(Polling, aFinalStatusEndsItAfterOneMoreQuestionThatIsTakenBack) {
  start(9);
  tick();
  serve(R"({"status":"Approved"})");
  serve("{}");
  tick();
  serve(R"({"status":"approved"})");
  EXPECT_THAT(heard, ElementsAre("approved"));
  EXPECT_TRUE(run->isRunning());
  tick();
  EXPECT_EQ(requests(), 3u);
  EXPECT_THAT(platform.transport->tasks(), IsEmpty());
  EXPECT_FALSE(run->isRunning());
  tick();
  EXPECT_EQ(requests(), 3u);
  EXPECT_EQ(heard.size(), 1u);
}

TEST_F(Polling, givesUpOnTheTickThatEqualsTheRetriesAndOnNoOther) {
  start(2);
  tick();
  serve(R"({"status":"open"})");
  tick();
  const auto second = platform.transport->exchanges.back();
  serve(R"({"status":"open"})");
  EXPECT_THAT(heard, ElementsAre("timedOut"));

  for (const double never : {0.0, 1.5}) {
    heard.clear();
    start(never);
    for (int i = 0; i < 3; ++i) {
      tick();
      serve(R"({"status":"open"})");
    }
    EXPECT_THAT(heard, IsEmpty()) << never;
  }
  start(1);
  tick();
  const auto first = platform.transport->exchanges.back();
  tick();
  // The answer to the first question comes after the second tick: the moment has passed.
  first->finish(HTTPResponse{200, R"({"status":"open"})"});
  platform.mainQueue->run();
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(Polling, theWindDownTakesBackWhatIsStillAsked) {
  start(9);
  tick();
  const auto first = platform.transport->exchanges.back();
  tick();
  const auto second = platform.transport->exchanges.back();
  tick();
  serve(R"({"status":"denied"})");
  EXPECT_EQ(platform.transport->tasks().size(), 2u);
  second->finish(HTTPResponse{200, R"({"status":"approved"})"});
  EXPECT_EQ(platform.transport->tasks().size(), 1u);
  platform.mainQueue->run();
  EXPECT_EQ(first->state(), HTTPTaskState::completed);
  EXPECT_FALSE(run->isRunning());
  EXPECT_THAT(heard, ElementsAre("denied"));
}

TEST_F(Polling, unreadableAnswersAreReportedAndItGoesOnAFailureEndsIt) {
  start(9);
  tick();
  serve("<html>");
  tick();
  serve("[1]");
  tick();
  serve(R"({"status":5})");
  EXPECT_THAT(heard, ElementsAre("error: The data is not valid JSON (near byte 1).",
                                 "error: Invalid Response! JSON data conversion error"));
  EXPECT_TRUE(run->isRunning());
  tick();
  platform.transport->last().finish(std::nullopt);
  platform.mainQueue->run();
  EXPECT_EQ(heard.back(), "error: No response from server...");
  EXPECT_FALSE(run->isRunning());
  tick();
  EXPECT_EQ(requests(), 4u);
}

TEST_F(Polling, aDroppedRunIsSilence) {
  start(9);
  tick();
  const auto question = platform.transport->exchanges.back();
  question->finish(HTTPResponse{200, R"({"status":"approved"})"});
  run.reset();
  platform.mainQueue->run();
  tick();
  EXPECT_EQ(requests(), 1u);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(Polling, neverAsksMoreThanTenTimesASecond) {
  for (const double interval : {0.0, -5.0, 99.0, std::nan(""), -HUGE_VAL}) {
    platform.transport->exchanges.clear();
    start(9, interval);
    tick();
    EXPECT_EQ(requests(), 10u) << interval;
  }
  platform.transport->exchanges.clear();
  start(9, HUGE_VAL);
  tick();
  EXPECT_EQ(requests(), 0u);
}

}  // namespace
}  // namespace veltrane::testing
