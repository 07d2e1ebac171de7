// The client between a flow and its authenticators: who is asked, what comes back, and that it
// comes once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fakes.h"
#include "veltrane/base/base64.h"
#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/passkeys/webauthn_client.h"

namespace veltrane {
namespace {

struct Unlisted final : PublicSuffixes {
  bool contains(const std::string& /*domain*/) const override { return false; }
};

/// Keeps what it was asked; the test answers.
struct HeldAuthenticator final : Authenticator {
  HeldAuthenticator(std::string a, std::optional<bool> h) : kind(std::move(a)), holding(h) {}
  std::string attachment() const override { return kind; }
  std::string displayName() const override { return kind; }
  std::optional<bool> holds(const std::string& /*rpId*/,
                            const std::vector<std::string>& /*allowed*/) const override {
    return holding;
  }
  bool canMake(const MakeCredential& /*request*/) const override { return true; }
  std::shared_ptr<void> make(MakeCredential request, std::shared_ptr<PasskeySheet> asked,
                             Made answer) override {
    makeRequest = std::move(request);
    made = std::move(answer);
    return begin(std::move(asked));
  }
  std::shared_ptr<void> get(GetAssertion request, std::shared_ptr<PasskeySheet> asked,
                            Got answer) override {
    getRequest = std::move(request);
    got = std::move(answer);
    return begin(std::move(asked));
  }
  std::shared_ptr<void> begin(std::shared_ptr<PasskeySheet> asked) {
    asked->ask({.step = PasskeyStep::consent, .confirmTitle = "Continue"}, [](PasskeyAnswer) {});
    sheet = asked;
    auto handle = std::make_shared<int>();
    running = handle;
    return handle;
  }

  std::string kind;
  std::optional<bool> holding;
  MakeCredential makeRequest;
  GetAssertion getRequest;
  Made made;
  Got got;
  std::weak_ptr<PasskeySheet> sheet;
  std::weak_ptr<void> running;
};

struct Outcome {
  int count = 0;
  std::optional<JSON> result;
  std::optional<VeltraneFlowError> error;
};

class WebAuthnClientTest : public ::testing::Test {
 protected:
  CredentialsManager::Callback into(Outcome& outcome) {
    return [&outcome](std::optional<JSON> result, std::optional<VeltraneFlowError> error) {
      ++outcome.count;
      outcome.result = std::move(result);
      outcome.error = std::move(error);
    };
  }
  void create(Outcome& outcome, const std::string& more = "", const char* rpId = "example.com") {
    const auto options = R"({"challenge":"YWJj","user":{"id":"YQ","name":"ann"})" + more + "}";
    client->credentialsCreate(rpId, "https://login.example.com", 2, JSON::parse(options).value,
                              into(outcome));
  }
  void get(Outcome& outcome, const std::string& more = "") {
    client->credentialsGet("example.com", "https://example.com",
                           JSON::parse(R"({"challenge":"YWJj")" + more + "}").value, into(outcome));
  }

  testing::FakePlatform fakes;
  std::shared_ptr<HeldAuthenticator> device =
      std::make_shared<HeldAuthenticator>("platform", false);
  std::shared_ptr<HeldAuthenticator> key =
      std::make_shared<HeldAuthenticator>("cross-platform", std::nullopt);
  std::vector<std::shared_ptr<Authenticator>> authenticators{device, key};
  std::unique_ptr<WebAuthnClient> client = std::make_unique<WebAuthnClient>(WebAuthnClient::Parts{
      [this] { return authenticators; }, nullptr, std::make_shared<Unlisted>()});
};

TEST_F(WebAuthnClientTest, WritesTheStandardsRegistration) {
  Outcome outcome;
  create(outcome, R"(,"extensions":{"credProps":true})");
  EXPECT_EQ(device->makeRequest.rpId, "example.com");
  EXPECT_EQ(device->makeRequest.clientDataJSON,
            R"({"type":"webauthn.create","challenge":"YWJj","origin":"https://login.example.com",)"
            R"("crossOrigin":false})");
  device->made(MadeCredential{.id = "\xff\xfe",
                              .authenticatorData = "data",
                              .attestationObject = "object",
                              .publicKey = "key",
                              .algorithm = cose::kES256,
                              .transports = {"internal"},
                              .isDiscoverable = true});
  ASSERT_EQ(outcome.count, 1);
  const JSON created = (*outcome.result)["createCredResponse"];
  EXPECT_EQ(created["id"].text(), "__4");
  EXPECT_EQ(created["rawId"], created["id"]);
  EXPECT_EQ(created["type"].text(), "public-key");
  EXPECT_EQ(created["authenticatorAttachment"].text(), "platform");
  EXPECT_EQ(created["clientExtensionResults"]["credProps"]["rk"].boolean(), true);
  const JSON response = created["response"];
  EXPECT_EQ(base64URLDecoded(*response["clientDataJSON"].text()),
            device->makeRequest.clientDataJSON);
  EXPECT_EQ(base64URLDecoded(*response["attestationObject"].text()), "object");
  EXPECT_EQ(response["publicKeyAlgorithm"].integer(), cose::kES256);
  EXPECT_EQ(response["transports"][0].text(), "internal");
  EXPECT_TRUE(device->running.expired());
}

TEST_F(WebAuthnClientTest, WritesTheStandardsAssertionAndAsksWhoHoldsOneFirst) {
  std::ranges::reverse(authenticators);
  device->holding = true;
  Outcome outcome;
  get(outcome, R"(,"allowCredentials":[{"type":"public-key","id":"_-4="}])");
  EXPECT_EQ(device->getRequest.allowed, std::vector<std::string>{"\xff\xee"});
  device->got(Assertion{.id = "i", .signature = "s", .userHandle = "u"});
  ASSERT_TRUE(outcome.result);
  EXPECT_EQ((*outcome.result)["response"]["userHandle"].text(), base64URLEncoded("u"));
  EXPECT_EQ((*outcome.result)["response"]["signature"].text(), base64URLEncoded("s"));
}

TEST_F(WebAuthnClientTest, NamesEachCause) {
  const auto cause = [&](auto&& ask) {
    Outcome outcome;
    ask(outcome);
    EXPECT_EQ(outcome.count, 0) << "never inside the call";
    fakes.mainQueue->run();
    EXPECT_EQ(outcome.count, 1);
    return outcome.error ? outcome.error->code.value_or("") : "";
  };
  EXPECT_EQ(cause([&](Outcome& o) { create(o, "", "example.org"); }), "rpIdMismatch");
  EXPECT_EQ(cause([&](Outcome& o) { create(o, R"(,"rp":{"id":"other.com"})"); }), "rpIdMismatch");
  EXPECT_EQ(cause([&](Outcome& o) { create(o, R"(,"challenge":5)"); }), "invalidOptions");
  EXPECT_EQ(cause([&](Outcome& o) { get(o, R"(,"allowCredentials":[{"type":"other"}])"); }),
            "noneFound");
  authenticators = {device};
  EXPECT_EQ(cause([&](Outcome& o) { get(o); }), "noneFound");
  EXPECT_EQ(cause([&](Outcome& o) {
              create(o,
                     R"(,"authenticatorSelection":{"authenticatorAttachment":"cross-platform"})");
            }),
            "notSupported");
}

TEST_F(WebAuthnClientTest, AnAuthenticatorsFailureKeepsItsCause) {
  Outcome outcome;
  create(outcome);
  device->made(PasskeyError{PasskeyFailure::locked, "FIDO_ERR_PIN_BLOCKED", 50});
  EXPECT_EQ(outcome.error->code, "locked");
  EXPECT_EQ((*outcome.error->details)["causeCode"].integer(), 50);
  EXPECT_EQ((*outcome.error->details)["cause"].text(), "FIDO_ERR_PIN_BLOCKED");
}

TEST_F(WebAuthnClientTest, TheOtherAuthenticatorCanBeChosenOnTheSheet) {
  Outcome outcome;
  create(outcome);
  const auto late = device->made;
  EXPECT_EQ(device->sheet.lock()->question().alternativeTitle, "Use a security key");
  device->sheet.lock()->useAlternative();
  EXPECT_TRUE(device->running.expired());
  EXPECT_FALSE(key->running.expired());
  EXPECT_EQ(key->sheet.lock()->question().alternativeTitle, "Use this device");
  late(PasskeyError{PasskeyFailure::cancelled});
  EXPECT_EQ(outcome.count, 0) << "it is not asked any more";
  key->made(MadeCredential{.id = "k"});
  EXPECT_TRUE(outcome.result);
}

TEST_F(WebAuthnClientTest, OneThatCouldNotTellAndHoldsNoneLeavesItToTheNext) {
  device->holding = std::nullopt;
  Outcome outcome;
  get(outcome);
  EXPECT_TRUE(key->running.expired());
  device->got(PasskeyError{PasskeyFailure::noneFound});
  EXPECT_TRUE(device->running.expired());
  EXPECT_FALSE(key->running.expired());
  EXPECT_EQ(key->sheet.lock()->question().alternativeTitle, "");
  key->got(PasskeyError{PasskeyFailure::noneFound});
  EXPECT_EQ(outcome.error->code, "noneFound");
  Outcome chosen;
  get(chosen);
  device->sheet.lock()->useAlternative();
  key->got(PasskeyError{PasskeyFailure::noneFound});
  EXPECT_EQ(chosen.error->code, "noneFound") << "where the person has said it is";
  EXPECT_EQ(outcome.count, 1);
}

TEST_F(WebAuthnClientTest, EndsAtTheTimeOutAndOnce) {
  Outcome outcome;
  create(outcome, R"(,"timeout":60000)");
  fakes.mainQueue->advance(std::chrono::milliseconds(59'999));
  EXPECT_EQ(outcome.count, 0);
  const auto late = device->made;
  fakes.mainQueue->advance(std::chrono::milliseconds(1));
  EXPECT_EQ(outcome.error->code, "timedOut");
  EXPECT_TRUE(device->running.expired());
  late(MadeCredential{});
  EXPECT_EQ(outcome.count, 1);
}

TEST_F(WebAuthnClientTest, RunsOneRequestAtATime) {
  Outcome first;
  Outcome second;
  create(first);
  get(second);
  fakes.mainQueue->run();
  EXPECT_TRUE(second.error);
  EXPECT_EQ(first.count, 0);
  device->made(MadeCredential{});
  EXPECT_TRUE(first.result);
  Outcome third;
  create(third);
  EXPECT_FALSE(device->running.expired());
}

TEST_F(WebAuthnClientTest, GoneItCancelsInSilence) {
  Outcome outcome;
  create(outcome);
  const auto sheet = device->sheet.lock();
  const auto late = device->made;
  client.reset();
  EXPECT_TRUE(device->running.expired());
  EXPECT_FALSE(sheet->isOpen());
  late(MadeCredential{});
  fakes.mainQueue->advance(std::chrono::minutes(20));
  EXPECT_EQ(outcome.count, 0);
}

}  // namespace
}  // namespace veltrane
