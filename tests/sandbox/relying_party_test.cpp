#include "apps/sandbox/passkeys/relying_party.h"

#include "apps/sandbox/passkeys/base64url.h"
#include "apps/sandbox/passkeys/options_names.h"
#include "apps/sandbox/request_check.h"
#include "tests/sandbox/sandbox_fixture.h"
#include "tests/sandbox/test_authenticator.h"

namespace veltrane::sandbox::test {
namespace {

using namespace std::chrono_literals;
using passkeys::kCreationOptions;
using passkeys::kRequestOptions;
using testing::ElementsAre;
using testing::SizeIs;
using Kind = TestAuthenticator::Kind;

/// A relying party on a clock that only the test moves. Each ceremony has an interaction of its
/// own, but those of replays.
class RelyingPartyTest : public testing::Test {
 protected:
  RelyingParty::Ceremony ceremony(const std::string& user) const {
    return {.party = {.name = "Acme", .origins = {"https://localhost"}},
            .interactionId = interaction,
            .userName = user};
  }

  json creation(const std::string& user = "alice", json wishes = json::object()) {
    json answer{{kCreationOptions, std::move(wishes)}};
    party.addCreationOptions(ceremony(user), answer);
    EXPECT_EQ(answer["challenge"], answer[kCreationOptions]["challenge"]);
    return answer[kCreationOptions];
  }

  json request(const std::string& user = "alice", json wishes = json::object()) {
    json answer{{kRequestOptions, std::move(wishes)}};
    party.addRequestOptions(ceremony(user), answer);
    return answer[kRequestOptions];
  }

  /// The code of the refusal; empty: none.
  template <typename Check>
  static std::string codeOf(const Check& check) {
    try {
      check();
    } catch (const Refusal& refusal) {
      return refusal.code();
    }
    return "";
  }

  std::string registers(const json& response) {
    return codeOf([&] { party.checkRegistration(interaction, response); });
  }
  std::string signsIn(const json& response) {
    return codeOf([&] { party.checkAssertion(interaction, response); });
  }

  RelyingParty::Clock::time_point now;
  RelyingParty party{[this] { return now; }};
  std::string interaction = "i-1";
};

/// One thing that is wrong with an answer, and what it is refused for.
struct Spoil {
  const char* code;
  std::function<void(TestAuthenticator&, json& options)> before;
  std::function<void(json& answer)> after = [](json&) {};
};

const std::vector<Spoil> kSpoils = {
    {"wrongChallenge", [](auto&, json& options) { options["challenge"] = "AAAA"; }},
    {"wrongOrigin", [](auto& one, json&) { one.origin = "https://localhost.example"; }},
    {"wrongOrigin", [](auto& one, json&) { one.origin = "http://localhost"; }},
    {"wrongRpId", [](auto& one, json&) { one.rpId = "local"; }},
    {"userAbsent", [](auto& one, json&) { one.flags = 0x04; }},
    {"userNotVerified", [](auto& one, json&) { one.flags = 0x01; }},
    {"badResponse", [](auto& one, json&) { one.flags = 0x15; }},  // backed up, and cannot be
    {"badSignature", [](auto& one, json&) { one.flipsSignature = true; }},
    {"badResponse", [](auto&, json&) {}, [](json& answer) { answer = json(); }},
    {"badResponse", [](auto&, json&) {}, [](json& answer) { answer["rawId"] = "AAAA"; }},
    {"badResponse", [](auto&, json&) {}, [](json& answer) { answer["response"] = {"x"}; }},
    {"badResponse", [](auto&, json&) {},
     [](json& answer) { answer["response"]["clientDataJSON"] = "not Base64"; }},
};

TEST_F(RelyingPartyTest, registersAndSignsInWithEveryKindOfKeyAndStatement) {
  const std::pair<Kind, const char*> kinds[] = {{Kind::es256, "packed"},
                                                {Kind::es256, "none"},
                                                {Kind::eddsa, "packed"},
                                                {Kind::eddsa, "none"}};
  int user = 0;
  for (const auto& [kind, format] : kinds) {
    TestAuthenticator authenticator(kind);
    const auto name = "user " + std::to_string(++user);
    authenticator.id += name;
    authenticator.format = format;
    authenticator.flags = 0x0D;  // It may be backed up.
    EXPECT_FALSE(party.knows("localhost", name));
    EXPECT_EQ(registers(authenticator.registration(creation(name))), "") << format;
    authenticator.flags = 0x1D;  // By now it is.
    EXPECT_TRUE(party.knows("localhost", name));
    EXPECT_FALSE(party.knows("other", name));
    EXPECT_EQ(signsIn(authenticator.assertion(request(name))), "") << format;
    EXPECT_EQ(signsIn(authenticator.assertion(request(""))), "") << format;
  }
}

TEST_F(RelyingPartyTest, optionsTellWhatIsKnownAndKeepTheAuthorsWishes) {
  TestAuthenticator authenticator;
  const json first = creation();
  ASSERT_EQ(registers(authenticator.registration(first)), "");
  const json second = creation(
      "alice", {{"attestation", "direct"}, {"challenge", "mine"}, {"rp", {{"id", "mine"}}}});
  EXPECT_EQ(second["user"], first["user"]);
  EXPECT_NE(second["challenge"], first["challenge"]);
  EXPECT_EQ(second["attestation"], "direct");
  EXPECT_EQ(second["rp"], (json{{"id", "localhost"}, {"name", "Acme"}}));
  const json known{{"type", "public-key"},
                   {"id", base64urlEncoded(authenticator.id)},
                   {"transports", {"internal"}}};
  EXPECT_THAT(first["excludeCredentials"], SizeIs(0));
  EXPECT_THAT(second["excludeCredentials"], ElementsAre(known));
  EXPECT_THAT(request()["allowCredentials"], ElementsAre(known));
  EXPECT_THAT(request("")["allowCredentials"], SizeIs(0));
  EXPECT_EQ(codeOf([&] { request("bob"); }), "unknownUser");
  EXPECT_EQ(codeOf([&] { creation(""); }), "badUserName");
  EXPECT_EQ(codeOf([&] { creation(std::string(65, 'x')); }), "badUserName");
}

TEST_F(RelyingPartyTest, refusesARegistrationThatDiffersInOnePoint) {
  const json wishes{{"authenticatorSelection", {{"userVerification", "required"}}}};
  auto spoils = kSpoils;
  const auto nothing = [](auto&, json&) {};
  const auto object = [](const char* text) {
    return [text](json& answer) { answer["response"]["attestationObject"] = text; };
  };
  spoils.push_back({"badAttestation", nothing, object("o2NmbXQ")});
  spoils.push_back({"badAttestation", nothing, object("oA")});
  spoils.push_back({"badAttestation", [](auto& one, json&) { one.format = "unheard-of"; }});
  spoils.push_back({"badAttestation", [](auto& one, json&) { one.algorithmTold = -8; }});
  spoils.push_back({"badResponse", nothing, [](json& a) { a["id"] = a["rawId"] = "AAAA"; }});
  for (const Spoil& spoil : spoils) {
    TestAuthenticator authenticator;
    json options = creation("alice", wishes);
    spoil.before(authenticator, options);
    json answer = authenticator.registration(options);
    spoil.after(answer);
    EXPECT_EQ(registers(answer), spoil.code);
  }
  EXPECT_FALSE(party.knows("localhost", "alice"));
  const json onlyEdDSA{{"pubKeyCredParams", {{{"type", "public-key"}, {"alg", -8}}}}};
  EXPECT_EQ(registers(TestAuthenticator().registration(creation("alice", onlyEdDSA))),
            "badAttestation");
  EXPECT_EQ(registers(TestAuthenticator().registration(creation("alice", wishes))), "");
  EXPECT_EQ(registers(TestAuthenticator().registration(creation("alice", wishes))),
            "knownCredential");
}

TEST_F(RelyingPartyTest, refusesAnAssertionThatDiffersInOnePoint) {
  TestAuthenticator alices;
  ASSERT_EQ(registers(alices.registration(creation())), "");
  TestAuthenticator bobs;
  bobs.id = "bob's";
  ASSERT_EQ(registers(bobs.registration(creation("bob"))), "");
  auto spoils = kSpoils;
  const auto nothing = [](auto&, json&) {};
  spoils.push_back({"unknownCredential", nothing, [](json& a) { a["id"] = a["rawId"] = "AAAA"; }});
  spoils.push_back({"wrongUser", [](auto& one, json&) { one.userHandle = "somebody else's"; }});
  spoils.push_back(
      {"wrongUser", nothing, [&](json& answer) { answer = bobs.assertion(request("alice")); }});
  spoils.push_back({"", nothing, [](json& a) { a["response"].erase("userHandle"); }});
  const auto rpId = alices.rpId, origin = alices.origin, handle = alices.userHandle;
  for (const Spoil& spoil : spoils) {
    json options = request("alice", {{"userVerification", "required"}});
    spoil.before(alices, options);
    json answer = alices.assertion(options);
    spoil.after(answer);
    EXPECT_EQ(signsIn(answer), spoil.code);
    alices.rpId = rpId;
    alices.origin = origin;
    alices.userHandle = handle;
    alices.flags = 0x05;
    alices.flipsSignature = false;
  }
  json nobody = alices.assertion(request(""));
  nobody["response"].erase("userHandle");
  EXPECT_EQ(signsIn(nobody), "badResponse");
}

TEST_F(RelyingPartyTest, anAnswerIsGoodOnceWithinItsTimeAndForItsInteraction) {
  TestAuthenticator authenticator;
  const json made = authenticator.registration(creation());
  interaction = "i-2";
  EXPECT_EQ(registers(made), "wrongChallenge");
  interaction = "i-1";
  EXPECT_EQ(registers(made), "");
  EXPECT_EQ(registers(made), "wrongChallenge");
  const json options = creation();
  EXPECT_EQ(signsIn(authenticator.assertion(options)), "wrongChallenge");

  const json used = authenticator.assertion(request());
  EXPECT_EQ(signsIn(used), "");
  EXPECT_EQ(signsIn(used), "wrongChallenge");
  const json fresh = request();
  EXPECT_EQ(signsIn(used), "wrongChallenge");
  // The wrong answer has used up the fresh challenge too.
  EXPECT_EQ(signsIn(authenticator.assertion(fresh)), "wrongChallenge");

  for (const auto& [wait, code] : {std::pair(1999ms, ""), {2000ms, "lateResponse"}}) {
    const json answer = authenticator.assertion(request("alice", {{"timeout", 2000}}));
    now += wait;
    EXPECT_EQ(signsIn(answer), code);
  }
}

TEST_F(RelyingPartyTest, theCounterMustGrowUnlessThereIsNone) {
  TestAuthenticator authenticator;
  authenticator.counter = 0;
  ASSERT_EQ(registers(authenticator.registration(creation())), "");
  const auto signInWith = [&](std::uint32_t counter) {
    authenticator.counter = counter - 1;  // It counts before it signs.
    return signsIn(authenticator.assertion(request()));
  };
  EXPECT_EQ(signInWith(0), "");
  EXPECT_EQ(signInWith(0), "");
  EXPECT_EQ(signInWith(7), "");
  EXPECT_EQ(signInWith(7), "wrongCounter");
  EXPECT_EQ(signInWith(6), "wrongCounter");
  EXPECT_EQ(signInWith(0), "wrongCounter");
  EXPECT_EQ(signInWith(0x80000000U), "");
}

}  // namespace
}  // namespace veltrane::sandbox::test
