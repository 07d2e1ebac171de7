// What a relying party and a person meet: making, using and choosing credentials.
#include <gmock/gmock.h>

#include "platform/authenticator/authenticator_data.h"
#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Accounts = AuthenticatorTest;

TEST_F(Accounts, SignInWithWhatWasMadeCountsUp) {
  for (const int algorithm : {cose::kES256, cose::kEdDSA}) {
    auto making = makeRequest();
    making.algorithms = {-257, algorithm, cose::kES256};
    const auto made = valueOf(device_.make(making));
    EXPECT_EQ(made.algorithm, algorithm);
    EXPECT_THAT(made.id, SizeIs(32));
    EXPECT_THAT(made.transports, ElementsAre("internal"));
    EXPECT_EQ(counterOf(made.authenticatorData), 0);
    EXPECT_TRUE(hasFlag(made.authenticatorData, flags::kUserPresent));
    EXPECT_FALSE(hasFlag(made.authenticatorData, flags::kUserVerified));

    const auto request = getRequest({made.id});
    for (std::uint32_t count = 1; count < 4; ++count) {
      device_.restart();
      const auto assertion = valueOf(device_.get(request));
      EXPECT_EQ(assertion.id, made.id);
      EXPECT_EQ(assertion.userHandle, "u1");
      EXPECT_EQ(counterOf(assertion.authenticatorData), count);
      EXPECT_EQ(assertion.authenticatorData.substr(0, 32), sha256("example.com"));
      EXPECT_TRUE(verifies(made, request, assertion));
    }
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

TEST_F(Accounts, ConsentNamesRelyingPartyAndAccount) {
  auto making = makeRequest("u1", "alice\u202e\n@example.com");
  making.userDisplayName = std::string(200, 'A');
  valueOf(device_.make(making));
  const auto questions = device_.person.takeQuestions();
  ASSERT_THAT(questions, SizeIs(1));
  EXPECT_EQ(questions[0].step, PasskeyStep::consent);
  EXPECT_EQ(questions[0].relyingParty, "example.com");
  EXPECT_EQ(questions[0].account, std::string(64, 'A') + "… (alice@example.com)");
}

// A part of it could be the name of someone else.
TEST_F(Accounts, ConsentNamesALongRelyingPartyWhole) {
  auto making = makeRequest();
  making.rpId = "login.example.com." + std::string(60, 'x') + "." + std::string(60, 'y') + ".net";
  valueOf(device_.make(making));
  auto signingIn = getRequest();
  signingIn.rpId = making.rpId;
  valueOf(device_.get(signingIn));
  for (const auto& question : device_.person.takeQuestions()) {
    EXPECT_EQ(question.relyingParty, making.rpId);
  }
}

TEST_F(Accounts, AnExcludedCredentialIsToldAfterConsentAlone) {
  const auto made = valueOf(device_.make(makeRequest()));
  device_.person.takeSteps();
  auto again = makeRequest("u2");
  again.excluded = {"another", made.id};
  EXPECT_EQ(errorOf(device_.make(again)).failure, PasskeyFailure::excluded);
  EXPECT_THAT(device_.person.takeSteps(), ElementsAre(PasskeyStep::consent, PasskeyStep::notice));
  device_.person.look = [](PasskeySheet& sheet) { return sheet.cancel(), false; };
  EXPECT_EQ(errorOf(device_.make(again)).failure, PasskeyFailure::cancelled);
  EXPECT_THAT(stored(), SizeIs(1));
}

TEST_F(Accounts, AnotherRelyingPartyFindsNothing) {
  const auto made = valueOf(device_.make(makeRequest()));
  auto elsewhere = getRequest({made.id});
  elsewhere.rpId = "example.net";
  EXPECT_EQ(errorOf(device_.get(elsewhere)).failure, PasskeyFailure::noneFound);
  EXPECT_EQ(device_.authenticator().holds("example.net", {}), false);
  EXPECT_EQ(device_.authenticator().holds("example.com", {}), true);
  EXPECT_EQ(device_.authenticator().holds("example.com", {"unknown"}), false);
}

TEST_F(Accounts, ThePersonPicksOneOfSeveral) {
  valueOf(device_.make(makeRequest("u1", "alice@example.com")));
  const auto bob = valueOf(device_.make(makeRequest("u2", "bob@example.com")));
  device_.person.takeSteps();
  for (const std::size_t account : {0, 1}) {
    device_.person.account = account;
    const auto assertion = valueOf(device_.get(getRequest()));
    const auto questions = device_.person.takeQuestions();
    ASSERT_THAT(questions, SizeIs(1));
    ASSERT_THAT(questions[0].choices, SizeIs(2));
    const bool isBob = assertion.id == bob.id;
    EXPECT_THAT(questions[0].choices[account], HasSubstr(isBob ? "bob" : "alice"));
    EXPECT_EQ(assertion.userHandle, isBob ? "u2" : "u1");
  }
}

TEST_F(Accounts, ANewDiscoverableCredentialTakesThePlaceOfTheFormer) {
  valueOf(device_.make(makeRequest("u1")));
  auto bound = makeRequest("u1");
  bound.residentKey = Requirement::discouraged;
  const auto named = valueOf(device_.make(bound));
  const auto last = valueOf(device_.make(makeRequest("u1")));
  // Waits for what is done after the answer.
  const auto assertion = valueOf(device_.get(getRequest()));
  EXPECT_EQ(assertion.id, last.id);
  EXPECT_THAT(stored(), SizeIs(2));
  const auto byName = valueOf(device_.get(getRequest({named.id})));
  EXPECT_EQ(byName.id, named.id);
  EXPECT_EQ(byName.userHandle, std::nullopt);
}

TEST_F(Accounts, AnUnknownAlgorithmOrALostKeeperIsNotSupported) {
  auto making = makeRequest();
  making.algorithms = {-257};
  EXPECT_FALSE(device_.authenticator().canMake(making));
  valueOf(device_.make(makeRequest()));
  TestDevice stranger(file_, {keeperOf('k', "another")});
  const TestPlatform platform(stranger, console_);
  const auto error = errorOf(stranger.get(getRequest()));
  EXPECT_EQ(error.failure, PasskeyFailure::notSupported);
  EXPECT_THAT(error.cause, HasSubstr("machine"));
}

TEST_F(Accounts, AnAlgorithmThatTheMachineLacksFallsToThePassphrase) {
  struct OnlyES256 final : KeyKeeper {
    std::string name() const override { return "tpm"; }
    std::vector<int> algorithms() const override { return {cose::kES256}; }
    PasskeyResult<NewKey> makeKey(int, const KeyContext&) override { return PasskeyError{}; }
    PasskeyResult<std::string> sign(int, std::string_view, const KeyContext&,
                                    std::string_view) override {
      return PasskeyError{};
    }
    PasskeyResult<std::string> renewed(int, std::string_view, const KeyContext&) override {
      return PasskeyError{};
    }
  };
  TestDevice device(file_, {[](const StorePlace&) { return nullptr; },
                            [](const StorePlace&) { return std::make_unique<OnlyES256>(); }});
  const TestPlatform platform(device, console_);
  auto making = makeRequest();
  making.algorithms = {cose::kEdDSA};
  EXPECT_EQ(valueOf(device.make(making)).algorithm, cose::kEdDSA);
  EXPECT_THAT(device.person.takeSteps(),
              ElementsAre(PasskeyStep::consent, PasskeyStep::newPassphrase));
  making.algorithms = {cose::kES256};
  EXPECT_EQ(errorOf(device.make(making)).failure, PasskeyFailure::failed);
}

}  // namespace
}  // namespace veltrane::authenticator::testing
