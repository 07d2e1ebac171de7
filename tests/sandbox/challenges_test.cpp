#include "apps/sandbox/challenges.h"

#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using namespace std::chrono_literals;
using Outcome = Challenges::Outcome;
using State = Challenge::State;

/// Challenges on a clock that only the test moves.
class ChallengesTest : public testing::Test {
 protected:
  std::string open(const std::string& plan) {
    const auto flow = readFlow(R"({"start": {}, "challenges": {"push": )" + plan + "}}");
    return challenges.open(flow, "push", {.interactionId = "i-1", .companyId = "acme"});
  }

  State stateOf(const std::string& id) const { return challenges.find(id)->state; }

  Outcome answer(const std::string& id, bool approve) {
    return challenges.answer(id, challenges.find(id)->token, approve);
  }

  Challenges::Clock::time_point now;
  Challenges challenges{[this] { return now; }};
};

TEST_F(ChallengesTest, anAnswerIsTakenOnceFromWhoKnowsTheToken) {
  const auto id = open(R"({"for": "Pay ${companyId}"})");
  const auto other = open(R"({"for": "Other"})");
  ASSERT_NE(id, other);
  EXPECT_EQ(challenges.find(id)->purpose, "Pay acme");
  EXPECT_EQ(challenges.answer(id, "", true), Outcome::wrongToken);
  EXPECT_EQ(challenges.answer(id, challenges.find(other)->token, true), Outcome::wrongToken);
  EXPECT_EQ(challenges.answer("none", challenges.find(id)->token, true), Outcome::unknown);
  EXPECT_EQ(stateOf(id), State::open);
  EXPECT_EQ(answer(id, false), Outcome::taken);
  EXPECT_EQ(answer(id, true), Outcome::late);
  EXPECT_EQ(stateOf(id), State::denied);
  ASSERT_EQ(challenges.openOnes().size(), 1U);
  EXPECT_EQ(challenges.openOnes()[0].id, other);
}

TEST_F(ChallengesTest, endsByItselfAndByItsAgeWhicheverComesFirst) {
  const auto robot =
      open(R"({"for": "x", "answersItself": {"answer": "approved", "afterMs": 3000}})");
  const auto stern =
      open(R"({"for": "x", "answersItself": {"answer": "denied", "afterMs": 3000}})");
  const auto brief = open(
      R"({"for": "x", "openForMs": 2000, "answersItself": {"answer": "approved", "afterMs": 3000}})");
  const auto plain = open(R"({"for": "x"})");
  now += 2999ms;
  EXPECT_EQ(stateOf(robot), State::open);
  EXPECT_EQ(stateOf(brief), State::expired);
  EXPECT_EQ(answer(brief, true), Outcome::late);
  now += 1h;
  EXPECT_EQ(stateOf(robot), State::approved);
  EXPECT_EQ(stateOf(stern), State::denied);
  EXPECT_EQ(stateOf(brief), State::expired);
  EXPECT_EQ(stateOf(plain), State::expired);
  EXPECT_EQ(answer(robot, false), Outcome::late);
  EXPECT_TRUE(challenges.openOnes().empty());
}

TEST_F(ChallengesTest, whatAnswersItselfCanBeAnsweredBefore) {
  const auto id = open(R"({"for": "x", "answersItself": {"answer": "approved", "afterMs": 3000}})");
  EXPECT_EQ(answer(id, false), Outcome::taken);
  now += 5s;
  EXPECT_EQ(stateOf(id), State::denied);
}

TEST_F(ChallengesTest, stepsComeInTurnAndThenTheTruth) {
  const auto id = open(R"({"for": "x", "status": [
      {"times": 2}, {"answer": {"status": "Approved"}}, {"status": 503, "answer": {}}]})");
  const auto next = [&] { return challenges.nextStatus(id)->reply->text; };
  EXPECT_EQ(next(), R"({"status":"inProgress"})");
  answer(id, true);
  EXPECT_EQ(next(), R"({"status":"approved"})");
  EXPECT_EQ(next(), R"({"status":"Approved"})");
  EXPECT_EQ(challenges.nextStatus(id)->reply->status, 503);
  EXPECT_EQ(next(), R"({"status":"approved"})");
  EXPECT_EQ(next(), R"({"status":"approved"})");
  EXPECT_FALSE(challenges.nextStatus("none"));
}

TEST_F(ChallengesTest, aStatusComesWithItsFlowAndTheIdsOfItsRun) {
  const auto id = open(R"({"for": "x", "status": [{"answer": {"status": "${companyId}"}}]})");
  for (const char* text : {R"({"status":"${companyId}"})", R"({"status":"inProgress"})"}) {
    const auto answer = challenges.nextStatus(id);
    EXPECT_EQ(answer->reply->text, text);
    ASSERT_TRUE(answer->flow);
    EXPECT_TRUE(answer->flow->challenges.contains("push"));
    EXPECT_EQ(answer->values.interactionId, "i-1");
    EXPECT_EQ(answer->values.companyId, "acme");
  }
}

TEST_F(ChallengesTest, theLatestOfANameCountsForItsInteraction) {
  EXPECT_EQ(challenges.stateOf("i-1", "push"), "");
  const auto first = open(R"({"for": "x"})");
  answer(first, true);
  EXPECT_EQ(challenges.stateOf("i-1", "push"), "approved");
  open(R"({"for": "x"})");
  EXPECT_EQ(challenges.stateOf("i-1", "push"), "inProgress");
  EXPECT_EQ(challenges.stateOf("i-2", "push"), "");
  EXPECT_EQ(challenges.stateOf("i-1", "other"), "");
}

TEST_F(ChallengesTest, theOldestAreForgotten) {
  const auto flow = readFlow(R"({"start": {}, "challenges": {"push": {"for": "x"}}})");
  const auto first = challenges.open(flow, "push", {.interactionId = "i"});
  const auto second = challenges.open(flow, "push", {.interactionId = "i"});
  for (int i = 0; i < 9'999; ++i) challenges.open(flow, "push", {.interactionId = "i"});
  EXPECT_FALSE(challenges.find(first));
  EXPECT_TRUE(challenges.find(second));
  EXPECT_EQ(challenges.openOnes().size(), 10'000U);
}

}  // namespace
}  // namespace veltrane::sandbox::test
