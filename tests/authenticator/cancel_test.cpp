// Every way out of a request, at every question.
#include <gmock/gmock.h>

#include <thread>

#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class Cancelling : public AuthenticatorTest {
 protected:
  Cancelling() : machine_(file_, {}), platform_(machine_, console_) {}

  static MakeCredential verifiedMaking() {
    auto request = makeRequest();
    request.userVerification = Requirement::required;
    return request;
  }
  static GetAssertion verifiedGetting() {
    auto request = getRequest();
    request.userVerification = Requirement::required;
    return request;
  }

  /// Drops the request when `step` is asked. True when no answer came then.
  template <typename Start>
  bool isSilentOnceDroppedAt(PasskeyStep step, const Start& start) {
    std::shared_ptr<void> handle;
    bool isAnswered = false;
    bool isDropped = false;
    machine_.person.look = [&](PasskeySheet& sheet) {
      if (sheet.question().step != step) return true;
      handle.reset();
      isDropped = true;
      return false;
    };
    handle = start([&](const auto& /*result*/) { isAnswered = true; });
    EXPECT_TRUE(machine_.runUntil([&] { return isDropped; }));
    // Another request goes its whole way after it.
    machine_.person.look = [](PasskeySheet& sheet) { return sheet.cancel(), false; };
    EXPECT_EQ(errorOf(machine_.make(makeRequest())).failure, PasskeyFailure::cancelled);
    return !isAnswered;
  }

  /// Without a keeper of its own, so that a passphrase is asked for.
  TestDevice machine_;

 private:
  TestPlatform platform_;
};

TEST_F(Cancelling, EndsARequestAtEachQuestionAndLeavesNothing) {
  const auto make = [this](auto heard) {
    return machine_.authenticator().make(verifiedMaking(), machine_.person.sheet(), heard);
  };
  const auto get = [this](auto heard) {
    return machine_.authenticator().get(verifiedGetting(), machine_.person.sheet(), heard);
  };
  const auto cancelledAt = [this](PasskeyStep step) {
    machine_.person.look = [step](PasskeySheet& sheet) {
      if (sheet.question().step != step) return true;
      return sheet.cancel(), false;
    };
  };
  for (const auto step : {PasskeyStep::consent, PasskeyStep::newPIN, PasskeyStep::newPassphrase}) {
    EXPECT_TRUE(isSilentOnceDroppedAt(step, make));
    cancelledAt(step);
    EXPECT_EQ(errorOf(machine_.make(verifiedMaking())).failure, PasskeyFailure::cancelled);
  }
  EXPECT_THAT(stored(), IsEmpty());
  machine_.person.look = [](PasskeySheet&) { return true; };
  valueOf(machine_.make(verifiedMaking()));
  auto other = verifiedMaking();
  other.userId = "u2";
  valueOf(machine_.make(other));

  for (const auto step : {PasskeyStep::account, PasskeyStep::enterPIN, PasskeyStep::passphrase}) {
    machine_.restart();
    EXPECT_TRUE(isSilentOnceDroppedAt(step, get));
    cancelledAt(step);
    EXPECT_EQ(errorOf(machine_.get(verifiedGetting())).failure, PasskeyFailure::cancelled);
  }
  for (const auto& entry : stored()) EXPECT_EQ(entry.counter, 0);
  EXPECT_THAT(console_->take(), IsEmpty());
}

using Dropping = AuthenticatorTest;

// The main thread drops the request while its answer is on the way.
TEST_F(Dropping, TakesBackWhatWasStoredButNotHeard) {
  bool isAnswered = false;
  const auto heard = [&](const auto& /*result*/) { isAnswered = true; };
  for (const bool byDestruction : {false, true}) {
    const auto former = valueOf(device_.make(makeRequest("u1")));
    device_.person.takeSteps();
    auto handle = device_.authenticator().make(makeRequest("u1"), device_.person.sheet(), heard);
    while (device_.person.takeSteps().empty()) device_.loop->runOnce(std::chrono::seconds(60));
    // The queue stands still from here on, so that the answer waits there.
    while (stored().size() < 2) std::this_thread::yield();
    if (byDestruction) device_.restart();
    handle.reset();
    valueOf(device_.get(getRequest({former.id})));
    EXPECT_FALSE(isAnswered);
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_EQ(stored()[0].id, former.id);
  }
}

TEST_F(Dropping, ARequestThatWaitsForItsTurnIsSilentWhenDropped) {
  device_.person.look = [](PasskeySheet&) { return false; };
  bool isAnswered = false;
  const auto heard = [&](const auto& /*result*/) { isAnswered = true; };
  auto first = device_.authenticator().make(makeRequest(), device_.person.sheet(), heard);
  Person second;
  auto waiting = device_.authenticator().make(makeRequest(), second.sheet(), heard);
  ASSERT_TRUE(device_.runUntil([&] { return device_.person.sheet()->isOpen(); }));
  waiting.reset();
  first.reset();
  device_.person.look = [](PasskeySheet&) { return true; };
  valueOf(device_.make(makeRequest()));
  EXPECT_FALSE(isAnswered);
  EXPECT_THAT(second.takeSteps(), IsEmpty());
  EXPECT_THAT(stored(), SizeIs(1));
}

}  // namespace
}  // namespace veltrane::authenticator::testing
