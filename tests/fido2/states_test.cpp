// Each state of a key as the person sees it, and the way out of it.
#include <fido.h>

#include "tests/fido2/person.h"

namespace veltrane::testing {
namespace {

using enum PasskeyStep;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kUserVerified = 0x04;

using KeyStates = Person;

TEST_F(KeyStates, AKeyIsWaitedFor) {
  when(insertKey, [this] { insert("a"); });
  EXPECT_FALSE(make().id.empty());
  EXPECT_THAT(steps(), ElementsAre(insertKey, touchKey));
  EXPECT_EQ(seen[0].relyingParty, "acme.example");
  EXPECT_EQ(seen[0].account, "Alice A. (alice)");
}

TEST_F(KeyStates, OfSeveralTheTouchedOneIsTaken) {
  const auto first = insert("a");
  const auto second = insert("b", {.pin = "123456"});
  first->waitForTouch();
  second->waitForTouch();
  whenAskedForPIN("123456");
  auto request = registration();
  request.userVerification = Requirement::required;
  startMake(request);
  // A touch that comes before the key asks for it counts for nothing: touch until it has helped.
  const auto nudge = loop->repeatingTimer(std::chrono::milliseconds(5), [&] { second->touch(); });
  awaitAnswer();
  ASSERT_EQ(made->index(), 0U);
  EXPECT_THAT(steps(), ElementsAre(selectKey, enterPIN, touchKey));
  EXPECT_FALSE(first->isBlinking());
}

TEST_F(KeyStates, AWrongPINCostsATry) {
  insert("a", {.pin = "123456"});
  whenAskedForPIN("000000");
  whenAskedForPIN("123456");
  auto request = registration();
  request.userVerification = Requirement::required;
  const auto credential = make(request);
  EXPECT_EQ(lastOf(enterPIN).problem, "Wrong PIN. 7 tries left.");
  EXPECT_TRUE(credential.authenticatorData.at(32) & kUserVerified);
}

TEST_F(KeyStates, EitherProtocolOfPINsIsSpoken) {
  insert("a", {.pinProtocol = 2});
  whenAskedForPIN("246802", newPIN);
  whenAskedForPIN("000000");
  whenAskedForPIN("246802");
  auto request = registration();
  request.userVerification = Requirement::required;
  EXPECT_TRUE(make(request).authenticatorData.at(32) & kUserVerified);
  EXPECT_FALSE(make(request).id.empty());
  EXPECT_EQ(lastOf(enterPIN).problem, "Wrong PIN. 7 tries left.");
}

TEST_F(KeyStates, AfterThreeWrongPINsTheKeyHasToBeInsertedAgain) {
  const auto key = insert("a", {.pin = "123456", .tries = 6});
  for (int i = 0; i < 3; ++i) whenAskedForPIN("000000");
  when(insertKey, [&] { exchangeKey("a", key); });
  whenAskedForPIN("123456");
  EXPECT_FALSE(make().id.empty());
  EXPECT_THAT(lastOf(insertKey).problem,
              HasSubstr("Take the security key out and insert it again"));
  // With few tries left it says so before the first.
  EXPECT_EQ(lastOf(enterPIN).problem, "3 tries left.");

  for (int i = 0; i < 3; ++i) whenAskedForPIN("000000");
  cancelAt(insertKey);
  const auto error = failToMake();
  EXPECT_EQ(error.failure, PasskeyFailure::locked);
  EXPECT_EQ(error.cause, "FIDO_ERR_PIN_AUTH_BLOCKED");
  EXPECT_EQ(error.causeCode, FIDO_ERR_PIN_AUTH_BLOCKED);
}

TEST_F(KeyStates, AKeyWithoutAPINGetsOne) {
  const auto key = insert("a");
  whenAskedForPIN(std::string(64, 'x'), newPIN);
  whenAskedForPIN("1234", newPIN);  // shorter than the key takes: the sheet keeps it
  auto request = registration();
  request.userVerification = Requirement::required;
  bool isTooShort = false;
  when(newPIN, [&] {
    isTooShort = sheet->question().problem == "Use at least 6 characters.";
    sheet->enter(Secret(std::string_view("135790")));
  });
  const auto credential = make(request);
  EXPECT_TRUE(isTooShort);
  EXPECT_TRUE(credential.authenticatorData.at(32) & kUserVerified);
  key->with([](auto& ctap) { EXPECT_EQ(ctap.behaviour.pin, "135790"); });
}

TEST_F(KeyStates, AKeyMayWantAnotherPIN) {
  const auto key = insert("a", {.pin = "123456", .wantsNewPIN = true});
  whenAskedForPIN("123456");
  whenAskedForPIN("123456", newPIN);
  whenAskedForPIN("654321", newPIN);
  EXPECT_FALSE(make().id.empty());
  EXPECT_THAT(lastOf(newPIN).problem, HasSubstr("does not take that PIN"));
  key->with([](auto& ctap) { EXPECT_EQ(ctap.behaviour.pin, "654321"); });
}

TEST_F(KeyStates, AFingerIsEnoughAndThePINStandsIn) {
  const auto key = insert("a", {.pin = "123456", .hasReader = true});
  auto request = registration();
  request.userVerification = Requirement::preferred;
  EXPECT_TRUE(make(request).authenticatorData.at(32) & kUserVerified);
  EXPECT_THAT(steps(), ElementsAre(touchKey));

  key->with([](auto& ctap) { ctap.behaviour.readerKnows = false; });
  whenAskedForPIN("123456");
  EXPECT_TRUE(make(request).authenticatorData.at(32) & kUserVerified);
  EXPECT_EQ(lastOf(enterPIN).problem, "You were not recognised. 8 tries left.");
}

TEST_F(KeyStates, AKeyPulledOutIsWaitedForAgain) {
  const auto key = insert("a");
  key->waitForTouch();
  when(touchKey, [&] { keys->pullOut("a"); });
  when(insertKey, [&] { insert("b"); });
  EXPECT_FALSE(make().id.empty());
  EXPECT_THAT(steps(), ElementsAre(touchKey, insertKey, touchKey));
  EXPECT_THAT(lastOf(insertKey).problem, HasSubstr("connection to the security key was lost"));
}

struct Trouble {
  const char* name;
  KeyBehaviour behaviour;
  std::function<void(MakeCredential&)> change;
  PasskeyFailure failure;
  const char* cause;
  const char* wayOut;
};

TEST_F(KeyStates, EachTroubleIsToldAndNamed) {
  const auto required = [](MakeCredential& request) {
    request.userVerification = Requirement::required;
    request.residentKey = Requirement::required;
  };
  const std::vector<Trouble> troubles{
      {"full",
       {.pin = "123456", .isFull = true},
       required,
       PasskeyFailure::storageFull,
       "FIDO_ERR_KEY_STORE_FULL",
       "Use another key"},
      {"blocked",
       {.pin = "123456", .tries = 0},
       required,
       PasskeyFailure::locked,
       "FIDO_ERR_PIN_BLOCKED",
       "Use another key"},
      {"no verification",
       {.takesPIN = false},
       required,
       PasskeyFailure::notSupported,
       "FIDO_ERR_UNSUPPORTED_OPTION",
       "Use another key"},
      {"not resident",
       {.keepsResident = false},
       required,
       PasskeyFailure::notSupported,
       "FIDO_ERR_UNSUPPORTED_OPTION",
       "Use another key"},
      {"algorithm",
       {},
       [](MakeCredential& request) { request.algorithms = {-257}; },
       PasskeyFailure::notSupported,
       "FIDO_ERR_UNSUPPORTED_ALGORITHM",
       "Use another key"},
      {"no touch",
       {.refusal = 0x2F},
       [](auto&) {},
       PasskeyFailure::timedOut,
       "FIDO_ERR_USER_ACTION_TIMEOUT",
       "Try again"},
      {"declined",
       {.refusal = 0x27},
       [](auto&) {},
       PasskeyFailure::cancelled,
       "FIDO_ERR_OPERATION_DENIED",
       "Try again"},
      {"nonsense",
       {.refusal = 0x7F},
       [](auto&) {},
       PasskeyFailure::failed,
       "FIDO_ERR_ERR_OTHER",
       "Try again"},
  };
  for (const auto& trouble : troubles) {
    SCOPED_TRACE(trouble.name);
    insert("a", trouble.behaviour);
    auto request = registration();
    trouble.change(request);
    whenAskedForPIN("123456");
    cancelAt(notice);
    const auto error = failToMake(request);
    EXPECT_EQ(error.failure, trouble.failure);
    EXPECT_EQ(error.cause, trouble.cause);
    EXPECT_EQ(lastOf(notice).confirmTitle, trouble.wayOut);
    EXPECT_FALSE(lastOf(notice).message.empty());
  }
}

TEST_F(KeyStates, AnotherKeyMayHaveWhatThisOneLacks) {
  const auto key = insert("a");
  const auto credential = make();
  keys->pullOut("a");
  insert("b");
  when(notice, [this] { sheet->confirm(); });
  when(insertKey, [&] { keys->plugIn("a", key); });
  EXPECT_EQ(get(signIn({credential.id})).id, credential.id);
  EXPECT_EQ(lastOf(notice).title, "No passkey found");

  // And the other way round: leaving says what is the matter.
  auto again = registration();
  again.excluded = {credential.id};
  keys->pullOut("b");
  when(notice, [this] { sheet->confirm(); });
  cancelAt(insertKey);
  EXPECT_EQ(failToMake(again).cause, "FIDO_ERR_CREDENTIAL_EXCLUDED");
}

}  // namespace
}  // namespace veltrane::testing
