// The PIN and the passphrase: chosen, asked, refused, locked.
#include <gmock/gmock.h>

#include "platform/authenticator/authenticator_data.h"
#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PINs : public AuthenticatorTest {
 protected:
  static MakeCredential making(Requirement verification = Requirement::required) {
    auto request = makeRequest();
    request.userVerification = verification;
    return request;
  }
  /// Gives the wrong PIN `count` times, each after a restart, and cancels then.
  void guessWrong(int count) {
    const std::string right = std::exchange(device_.person.pin, "0000");
    for (int i = 0; i < count; ++i) {
      device_.restart();
      int asked = 0;
      device_.person.look = [&](PasskeySheet& sheet) {
        if (sheet.question().step == PasskeyStep::enterPIN && ++asked == 2) sheet.cancel();
        return asked < 2;
      };
      EXPECT_TRUE(std::holds_alternative<PasskeyError>(device_.make(making())));
    }
    device_.person.pin = right;
    device_.person.look = [](PasskeySheet&) { return true; };
  }
};

TEST_F(PINs, IsChosenWhenFirstRequiredAndAskedWherePreferredFromThen) {
  const auto before = valueOf(device_.make(making(Requirement::preferred)));
  EXPECT_FALSE(hasFlag(before.authenticatorData, flags::kUserVerified));
  EXPECT_THAT(device_.person.takeSteps(), ElementsAre(PasskeyStep::consent));

  EXPECT_TRUE(hasFlag(valueOf(device_.make(making())).authenticatorData, flags::kUserVerified));
  EXPECT_THAT(device_.person.takeSteps(), ElementsAre(PasskeyStep::consent, PasskeyStep::newPIN));

  device_.restart();
  auto request = getRequest();
  request.userVerification = Requirement::preferred;
  EXPECT_TRUE(hasFlag(valueOf(device_.get(request)).authenticatorData, flags::kUserVerified));
  EXPECT_THAT(device_.person.takeSteps(), ElementsAre(PasskeyStep::consent, PasskeyStep::enterPIN));
  request.userVerification = Requirement::discouraged;
  EXPECT_FALSE(hasFlag(valueOf(device_.get(request)).authenticatorData, flags::kUserVerified));
}

TEST_F(PINs, IsAskedAgainUntilItIsRight) {
  valueOf(device_.make(making()));
  device_.person.takeSteps();
  const std::string right = std::exchange(device_.person.pin, "1111");
  int asked = 0;
  device_.person.look = [&](PasskeySheet& sheet) {
    if (sheet.question().step == PasskeyStep::enterPIN && ++asked == 3) device_.person.pin = right;
    return true;
  };
  for (int round = 0; round < 3; ++round) {  // a right one gives all tries back
    device_.person.pin = "1111";
    asked = 0;
    valueOf(device_.make(making()));
    std::vector<std::string> problems;
    for (const auto& question : device_.person.takeQuestions())
      problems.push_back(question.problem);
    EXPECT_THAT(problems,
                ElementsAre("", "", "Wrong PIN. 7 tries left.", "Wrong PIN. 6 tries left."));
  }
}

TEST_F(PINs, LocksAfterEightWrongOnesUntilReset) {
  valueOf(device_.make(making()));
  guessWrong(8);
  device_.restart();
  device_.person.takeSteps();
  EXPECT_EQ(errorOf(device_.make(making())).failure, PasskeyFailure::locked);
  EXPECT_EQ(errorOf(device_.make(makeRequest())).failure, PasskeyFailure::locked);
  EXPECT_EQ(errorOf(device_.get(getRequest())).failure, PasskeyFailure::locked);
  EXPECT_THAT(device_.person.takeSteps(), AllOf(SizeIs(3), Each(PasskeyStep::notice)));

  EXPECT_EQ(valueOf(reset(file_)), 1);
  EXPECT_THAT(stored(), IsEmpty());
  device_.person.pin = "a new one";
  valueOf(device_.make(making()));
  EXPECT_THAT(device_.person.takeSteps(), ElementsAre(PasskeyStep::consent, PasskeyStep::newPIN));
}

TEST_F(PINs, TheEighthWrongOneLocksWithinTheSameRequest) {
  valueOf(device_.make(making()));
  guessWrong(6);
  device_.person.takeSteps();
  device_.person.pin = "0000";
  EXPECT_EQ(errorOf(device_.make(making())).failure, PasskeyFailure::locked);
  const auto questions = device_.person.takeQuestions();
  ASSERT_THAT(questions, SizeIs(4));
  EXPECT_EQ(questions[3].step, PasskeyStep::notice);
  EXPECT_EQ(questions[1].problem, "2 tries left.");
  EXPECT_EQ(questions[2].problem, "Wrong PIN. 1 try left.");
}

// Another program may reset it while a person types.
TEST_F(PINs, ProvesNothingOnceAnotherHasTakenItsPlace) {
  valueOf(device_.make(making()));
  device_.person.takeSteps();
  int asked = 0;
  device_.person.look = [&](PasskeySheet& sheet) {
    if (sheet.question().step != PasskeyStep::enterPIN) return true;
    if (++asked == 2) device_.person.pin = "another";
    if (asked > 1) return true;
    valueOf(reset(file_));
    const auto other = makeLock(Secret(std::string_view("another")), kCheap);
    EXPECT_TRUE(valueOf(CredentialStore(file_).addLock(LockKind::pin, other->lock)));
    return true;
  };
  valueOf(device_.make(making()));
  EXPECT_THAT(device_.person.takeSteps(),
              ElementsAre(PasskeyStep::consent, PasskeyStep::enterPIN, PasskeyStep::enterPIN));
}

// A try that cannot be checked is spent all the same.
TEST_F(PINs, ATryIsCountedBeforeItIsChecked) {
  valueOf(device_.make(making()));
  CredentialStore store(file_);
  auto lock = *valueOf(store.lock(LockKind::pin));
  valueOf(reset(file_));
  lock.cost.memoryKiB = UINT32_MAX;
  valueOf(store.addLock(LockKind::pin, lock));
  EXPECT_EQ(errorOf(device_.make(making())).failure, PasskeyFailure::failed);
  EXPECT_EQ(valueOf(store.lock(LockKind::pin))->triesLeft, 7);
}

TEST_F(PINs, TooShortOnesAreRefusedWhateverTheFrontEndLetsThrough) {
  device_.person.pin = "äöü";
  device_.person.look = [&](PasskeySheet& sheet) {
    if (sheet.question().step != PasskeyStep::newPIN) return true;
    EXPECT_EQ(sheet.question().minimumLength, 4);
    if (!sheet.question().problem.empty()) return sheet.cancel(), false;
    sheet.enter(Secret(std::string_view("äöü")));
    if (sheet.question().problem.empty()) return false;
    return sheet.cancel(), false;
  };
  EXPECT_EQ(errorOf(device_.make(making())).failure, PasskeyFailure::cancelled);
  EXPECT_EQ(valueOf(CredentialStore(file_).lock(LockKind::pin)), std::nullopt);
}

class Passphrases : public PINs {
 protected:
  Passphrases() : machine_(file_, {}), platform_(machine_, console_) {}
  TestDevice machine_;

 private:
  TestPlatform platform_;
};

TEST_F(Passphrases, OpensWhatItSealedAndTellsAWrongOneAtOnce) {
  const auto made = valueOf(machine_.make(makeRequest()));
  EXPECT_THAT(machine_.person.takeSteps(),
              ElementsAre(PasskeyStep::consent, PasskeyStep::newPassphrase));
  EXPECT_TRUE(verifies(made, getRequest(), valueOf(machine_.get(getRequest()))));
  EXPECT_THAT(machine_.person.takeSteps(), ElementsAre(PasskeyStep::consent));

  machine_.restart();
  const std::string right = std::exchange(machine_.person.passphrase, "another passphrase");
  machine_.person.look = [&](PasskeySheet& sheet) {
    if (!sheet.question().problem.empty()) machine_.person.passphrase = right;
    return true;
  };
  EXPECT_TRUE(verifies(made, getRequest(), valueOf(machine_.get(getRequest()))));
  const auto questions = machine_.person.takeQuestions();
  ASSERT_THAT(questions, SizeIs(3));
  EXPECT_EQ(questions[1].problem, "");
  EXPECT_EQ(questions[2].problem, "Wrong passphrase.");
  EXPECT_EQ(stored()[0].counter, 2);
}

TEST_F(Passphrases, AResetMakesForANewOneInTheSameRun) {
  valueOf(machine_.make(makeRequest()));
  valueOf(reset(file_));
  machine_.person.takeSteps();
  const auto made = valueOf(machine_.make(makeRequest()));
  EXPECT_THAT(machine_.person.takeSteps(),
              ElementsAre(PasskeyStep::consent, PasskeyStep::newPassphrase));
  EXPECT_TRUE(verifies(made, getRequest(), valueOf(machine_.get(getRequest()))));
}

}  // namespace
}  // namespace veltrane::authenticator::testing
