// Who may use which relying party, and the texts that go to the server, by the standard's rules.
#include <gtest/gtest.h>

#include "platform/publicsuffix/public_suffix_list.h"
#include "veltrane/base/base64.h"
#include "veltrane/passkeys/client_data.h"
#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/passkeys/webauthn_options.h"

namespace veltrane {
namespace {

TEST(RelyingPartyIds, BelongToOriginsAtOrBelowThem) {
  const auto suffixes = publicsuffix::make();
  const auto fits = [&](const char* rpId, const char* origin) {
    return !relyingPartyMismatch(rpId, origin, *suffixes);
  };
  EXPECT_TRUE(fits("localhost", "https://localhost"));
  EXPECT_TRUE(fits("localhost", "http://localhost:8080"));
  EXPECT_TRUE(fits("Example.com", "https://login.EXAMPLE.com:8443"));
  EXPECT_TRUE(fits("bank.co.uk", "https://bank.co.uk/"));

  EXPECT_FALSE(fits("example.com", "https://badexample.com")) << "a mere ending";
  EXPECT_FALSE(fits("login.example.com", "https://example.com")) << "above it";
  EXPECT_FALSE(fits("com", "https://example.com"));
  EXPECT_FALSE(fits("co.uk", "https://bank.co.uk"));
  EXPECT_FALSE(fits("github.io", "https://someone.github.io"));
  EXPECT_FALSE(fits("", "https://example.com"));
  for (const char* origin : {"", "example.com", "https://", "https://user@example.com",
                             "https://example.com/path", "https://example.com:99999",
                             "https://example.com:", "https://example..com", "ftp://example.com"}) {
    EXPECT_FALSE(fits("example.com", origin)) << origin;
  }
}

TEST(RelyingPartyIds, WhatIsWrongWithAnOriginIsToldAsItIs) {
  const auto suffixes = publicsuffix::make();
  const std::pair<const char*, const char*> wrong[] = {
      {"http://example.com", "is not secure: http is for localhost alone"},
      {"http://notlocalhost", "is not secure"},
      {"https://127.0.0.1", "is at an address, and passkeys belong to domain names"},
      {"http://127.0.0.1:8080", "is at an address"},
      {"https://0x7f000001", "is at an address"},
      {"https://[::1]:8443", "is at an address"},
      {"https://[::1", "is not a web origin"},
      {"ftp://example.com", "is not a web origin"}};
  for (const auto& [origin, told] : wrong) {
    const auto mismatch = relyingPartyMismatch("127.0.0.1", origin, *suffixes).value_or("");
    EXPECT_NE(mismatch.find(told), std::string::npos) << mismatch;
    EXPECT_FALSE(serializedOrigin(origin)) << origin;
  }
}

TEST(RelyingPartyIds, OriginsAreSerialisedAsBrowsersDo) {
  EXPECT_EQ(serializedOrigin("HTTPS://Login.Example.com:443/"), "https://login.example.com");
  EXPECT_EQ(serializedOrigin("https://localhost:0443"), "https://localhost");
  EXPECT_EQ(serializedOrigin("https://localhost:000008443"), "https://localhost:8443");
  EXPECT_EQ(serializedOrigin("https://localhost:0"), "https://localhost:0");
  EXPECT_EQ(serializedOrigin("http://localhost:00080"), "http://localhost");
  EXPECT_EQ(serializedOrigin("http://localhost:8080"), "http://localhost:8080");
}

TEST(ClientData, IsTheStandardsText) {
  EXPECT_EQ(serializedClientData("webauthn.get", "\xfb\xff\xfe", "https://example.com"),
            R"({"type":"webauthn.get","challenge":"-__-","origin":"https://example.com",)"
            R"("crossOrigin":false})");
  EXPECT_EQ(serializedClientData("a\"\\\n", "", "\xc3\xa9"),
            R"({"type":"a\"\\\u000a","challenge":"","origin":")"
            "\xc3\xa9"
            R"(","crossOrigin":false})");
}

TEST(Base64URL, TakesEitherAlphabetAndNothingElse) {
  const std::string bytes = "\xfb\xff\xfe\x01";
  EXPECT_EQ(base64URLEncoded(bytes), "-__-AQ");
  for (const char* text : {"-__-AQ", "-__-AQ==", "+//+AQ==", "+//+AQ"}) {
    EXPECT_EQ(base64URLDecoded(text), bytes) << text;
  }
  for (const char* text : {"A", "AAAAA", "AA AA", "AA=A", "AA\n", "\xc3\xa9=="}) {
    EXPECT_FALSE(base64URLDecoded(text)) << text;
  }
}

CreationOptions creation(const std::string& text) {
  auto read = readCreationOptions(JSON::parse(text).value);
  const auto* error = std::get_if<PasskeyError>(&read);
  EXPECT_EQ(error, nullptr) << (error ? error->cause : "");
  return error ? CreationOptions() : std::get<CreationOptions>(read);
}

TEST(CreationOptionsJSON, IsTakenAsServersWriteIt) {
  const std::string options =
      R"("rp":{"name":"Shop"},"user":{"id":"YQ==","name":"ann","displayName":null},)"
      R"("pubKeyCredParams":[],"excludeCredentials":[],"timeout":null)";
  for (const std::string& text : std::vector<std::string>{
           R"({"challenge":"YWJj",)" + options + "}",
           R"({"success":1,"publicKey":{"challenge":"YWJj",)" + options + "}}",
           R"({"challenge":"YWJj","publicKeyCredentialCreationOptions":{)" + options + "}}"}) {
    const auto read = creation(text);
    EXPECT_EQ(read.challenge, "abc") << text;
    EXPECT_EQ(read.request.userId, "a");
    EXPECT_EQ(read.request.userName, "ann");
    EXPECT_EQ(read.request.algorithms.front(), cose::kES256);
    EXPECT_EQ(read.request.timeout, std::chrono::minutes(5));
    EXPECT_FALSE(read.request.wantsAttestation);
  }
}

TEST(CreationOptionsJSON, SaysWhatIsWanted) {
  const auto read = creation(
      R"({"challenge":"YQ","user":{"id":"YQ"},"timeout":1e300,"attestation":"direct",)"
      R"("pubKeyCredParams":[{"type":"other","alg":-7},{"type":"public-key","alg":-8}],)"
      R"("excludeCredentials":[{"type":"public-key","id":"YWE"},{"type":"x","id":"YWE"},7],)"
      R"("authenticatorSelection":{"residentKey":"new","requireResidentKey":true,)"
      R"("userVerification":"required","authenticatorAttachment":"platform"},)"
      R"("extensions":{"credProps":true}})");
  EXPECT_EQ(read.request.algorithms, std::vector<int>{cose::kEdDSA});
  EXPECT_EQ(read.request.excluded, std::vector<std::string>{"aa"});
  EXPECT_EQ(read.request.residentKey, Requirement::required);
  EXPECT_EQ(read.request.userVerification, Requirement::required);
  EXPECT_EQ(read.attachment, "platform");
  EXPECT_EQ(read.request.timeout, std::chrono::minutes(10));
  EXPECT_TRUE(read.request.wantsAttestation && read.wantsCredentialProperties);
}

TEST(CreationOptionsJSON, WithoutWhatItNeedsIsRefused) {
  const auto failure = [](const std::string& text) {
    const auto read = readCreationOptions(JSON::parse(text).value);
    const auto* error = std::get_if<PasskeyError>(&read);
    return error ? error->failure : PasskeyFailure::failed;
  };
  EXPECT_EQ(failure(R"([])"), PasskeyFailure::invalidOptions);
  EXPECT_EQ(failure(R"({"challenge":"%%","user":{"id":"YQ"}})"), PasskeyFailure::invalidOptions);
  EXPECT_EQ(failure(R"({"challenge":"YQ","user":{"id":""}})"), PasskeyFailure::invalidOptions);
  EXPECT_EQ(failure(R"({"challenge":"YQ","user":{"id":")" + std::string(88, 'A') + R"("}})"),
            PasskeyFailure::invalidOptions);
  EXPECT_EQ(failure(R"({"challenge":"YQ","user":{"id":"YQ"},"pubKeyCredParams":[{"alg":"x"}]})"),
            PasskeyFailure::notSupported);
}

TEST(PasskeySheets, TakeWhatTheQuestionOffersOnce) {
  PasskeySheet sheet;
  int answers = 0;
  PasskeyAnswer last;
  const auto take = [&](PasskeyAnswer answer) {
    ++answers;
    last = std::move(answer);
  };
  sheet.ask({.step = PasskeyStep::newPIN, .minimumLength = 4}, take);
  sheet.confirm();
  sheet.choose(0);
  sheet.useAlternative();
  sheet.enter(Secret(std::string_view("\xc3\xa9\xc3\xa9\xc3\xa9")));
  EXPECT_EQ(answers, 0) << "three characters of six bytes";
  EXPECT_FALSE(sheet.question().problem.empty());
  sheet.enter(Secret(std::string_view("1234")));
  sheet.enter(Secret(std::string_view("5678")));
  sheet.cancel();
  EXPECT_EQ(answers, 1);
  EXPECT_EQ(last.secret.bytes(), "1234");
  EXPECT_EQ(sheet.question().step, PasskeyStep::working);

  sheet.ask({.step = PasskeyStep::account, .choices = {"ann", "bob"}}, take);
  sheet.choose(2);
  EXPECT_EQ(answers, 1);
  sheet.choose(1);
  EXPECT_EQ(last.choice, 1U);
}

}  // namespace
}  // namespace veltrane
