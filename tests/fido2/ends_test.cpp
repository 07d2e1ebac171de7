// Whatever the key does and whatever is on the sheet: Cancel answers once, a dropped handle not at
// all, and the thread comes back.
#include "tests/fido2/person.h"
#include "tests/support/cbor_text.h"

namespace veltrane::testing {
namespace {

using enum PasskeyStep;

/// Each state in which a request can be ended, and how it is reached.
struct State {
  PasskeyStep step;
  std::function<void(SimulatedKeys&)> prepare;
  Requirement verification = Requirement::discouraged;
};

std::shared_ptr<SimulatedKey> untouched(KeyBehaviour behaviour = {}) {
  auto key = std::make_shared<SimulatedKey>(std::move(behaviour));
  key->waitForTouch();
  return key;
}

std::vector<State> states() {
  return {{insertKey, [](auto&) {}},
          {touchKey, [](auto& keys) { keys.plugIn("a", untouched()); }},
          {selectKey,
           [](auto& keys) {
             keys.plugIn("a", untouched());
             keys.plugIn("b", untouched());
           }},
          {enterPIN, [](auto& keys) { keys.plugIn("a", untouched({.pin = "123456"})); },
           Requirement::required},
          {newPIN, [](auto& keys) { keys.plugIn("a", untouched()); }, Requirement::required},
          {notice, [](auto& keys) {
             keys.plugIn("a", std::make_shared<SimulatedKey>(KeyBehaviour{.refusal = 0x27}));
           }}};
}

class KeyEnds : public Person, public ::testing::WithParamInterface<std::size_t> {
 protected:
  void start() {
    state = states()[GetParam()];
    state.prepare(*keys);
    auto request = registration();
    request.userVerification = state.verification;
    startMake(request);
  }
  State state;
};

TEST_P(KeyEnds, CancelAnswersOnceAndTheNextRequestGoesOn) {
  start();
  cancelAt(state.step);
  awaitAnswer();
  ASSERT_EQ(made->index(), 1U);
  EXPECT_EQ(std::get<PasskeyError>(*made).failure, PasskeyFailure::cancelled);
  keys->pullOut("a");
  keys->pullOut("b");
  insert("c");
  EXPECT_FALSE(make().id.empty());
}

TEST_P(KeyEnds, ADroppedHandleIsSilent) {
  start();
  bool isDropped = false;
  when(state.step, [&] {
    handle.reset();
    isDropped = true;
  });
  ASSERT_TRUE(loop->runUntil([&] { return isDropped; }, std::chrono::seconds(60)));
  authenticator.reset();
  sheet->cancel();
  loop->runUntilIdle();
  EXPECT_EQ(answers, 0);
}

TEST_P(KeyEnds, WithoutAnAuthenticatorThereIsAnAnswerStill) {
  start();
  when(state.step, [&] { authenticator.reset(); });
  awaitAnswer();
  EXPECT_EQ(std::get<PasskeyError>(*made).failure, PasskeyFailure::cancelled);
}

INSTANTIATE_TEST_SUITE_P(InEachState, KeyEnds, ::testing::Range(std::size_t{0}, states().size()));

class HostileKeys : public Person, public ::testing::WithParamInterface<SimulatedKey::Manner> {
 protected:
  HostileKeys() { authenticator = newAuthenticator(std::chrono::milliseconds(300)); }
  bool sawNotice() const { return lastOf(notice).step == notice; }
};

TEST_P(HostileKeys, LeaveTheWayOutOpen) {
  const auto key = insert("a");
  for (const auto step : {insertKey, touchKey, notice}) cancelAt(step);
  key->setManner(GetParam());
  failToMake();
  EXPECT_EQ(made->index(), 1U);
}

TEST_P(HostileKeys, ThatTurnSoInTheMiddleDoNotHoldTheThread) {
  const auto key = insert("a");
  key->waitForTouch();
  when(touchKey, [&] {
    key->setManner(GetParam());
    sheet->cancel();
    key->touch();
  });
  startMake();
  awaitAnswer();
  EXPECT_EQ(std::get<PasskeyError>(*made).failure, PasskeyFailure::cancelled);
  authenticator.reset();
}

TEST_P(HostileKeys, EndWithTheRequestsTime) {
  const auto key = insert("a");
  key->setManner(GetParam());
  auto request = registration();
  request.timeout = std::chrono::milliseconds(400);
  cancelAt(notice);
  const auto error = failToMake(request);
  ASSERT_EQ(made->index(), 1U);
  // One that answers in time has told what is wrong with it.
  EXPECT_TRUE(sawNotice() || error.failure == PasskeyFailure::timedOut);
}

using enum SimulatedKey::Manner;
INSTANTIATE_TEST_SUITE_P(OfEachKind, HostileKeys,
                         ::testing::Values(silent, endless, strangeChannel, cut, huge, garbage));

/// A reply that says it holds far more than follows, and one whose credential does.
std::vector<std::string> claims() {
  using namespace cbor;
  const std::string claim("\xBB\0\1\0\0\0\0\0\0", 9);
  const auto data =
      std::string(32, 'h') + '\x41' + std::string(4 + 16, '\0') + std::string("\0\1i", 3) + claim;
  return {claim,
          map({{number(1), text("packed")}, {number(2), bytes(data)}, {number(3), map({})}})};
}

// What reads it would ask for all that memory first: 2^48 pairs are more than any machine has.
TEST_F(Person, AKeyThatClaimsTooMuchIsNotListenedTo) {
  for (const auto& claim : claims()) {
    const auto mind = std::make_shared<SimulatedCtap>(KeyBehaviour());
    keys->plugIn("a", std::make_shared<SimulatedKey>([mind, claim](std::string_view request) {
                   if (request.front() != 1) return mind->answer(request);
                   return SimulatedCtap::Reply{std::string(1, '\0') + claim, {}};
                 }));
    seen.clear();
    cancelAt(insertKey);
    EXPECT_EQ(failToMake().failure, PasskeyFailure::failed);
    EXPECT_THAT(lastOf(insertKey).problem, ::testing::HasSubstr("connection"));
    keys->pullOut("a");
  }
}

}  // namespace
}  // namespace veltrane::testing
