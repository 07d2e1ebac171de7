// What a key makes is what a relying party accepts: checked by libfido2's own verifiers.
#include <fido.h>
#include <fido/eddsa.h>
#include <fido/es256.h>
#include <openssl/x509.h>

#include "platform/fido2/key_connection.h"
#include "tests/fido2/person.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const unsigned char* data(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

/// From "attStmt" on, the statement's map; self attestation: "alg", then "sig".
int verifySelf(const MakeCredential& asked, const MadeCredential& made) {
  const fido2::Fido<fido_cred_t> credential(fido_cred_new());
  const std::size_t start = made.attestationObject.find("gattStmt") + 8;
  const std::size_t end = made.attestationObject.find("hauthData");
  const std::string statement = made.attestationObject.substr(start, end - start);
  fido_cred_set_type(credential.get(), made.algorithm);
  fido_cred_set_fmt(credential.get(), "packed");
  fido_cred_set_clientdata(credential.get(), data(asked.clientDataJSON),
                           asked.clientDataJSON.size());
  fido_cred_set_rp(credential.get(), asked.rpId.c_str(), nullptr);
  fido_cred_set_authdata_raw(credential.get(), data(made.authenticatorData),
                             made.authenticatorData.size());
  fido_cred_set_attstmt(credential.get(), data(statement), statement.size());
  return fido_cred_verify_self(credential.get());
}

int verify(const GetAssertion& asked, const Assertion& got, const MadeCredential& made) {
  const fido2::Fido<fido_assert_t> assertion(fido_assert_new());
  fido_assert_set_rp(assertion.get(), asked.rpId.c_str());
  fido_assert_set_clientdata(assertion.get(), data(asked.clientDataJSON),
                             asked.clientDataJSON.size());
  fido_assert_set_count(assertion.get(), 1);
  fido_assert_set_authdata_raw(assertion.get(), 0, data(got.authenticatorData),
                               got.authenticatorData.size());
  fido_assert_set_sig(assertion.get(), 0, data(got.signature), got.signature.size());
  const unsigned char* der = data(made.publicKey);
  const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(
      d2i_PUBKEY(nullptr, &der, static_cast<long>(made.publicKey.size())), EVP_PKEY_free);
  if (!key) return FIDO_ERR_INVALID_ARGUMENT;
  if (made.algorithm == cose::kEdDSA) {
    eddsa_pk_t* eddsa = eddsa_pk_new();
    eddsa_pk_from_EVP_PKEY(eddsa, key.get());
    const int result = fido_assert_verify(assertion.get(), 0, COSE_EDDSA, eddsa);
    eddsa_pk_free(&eddsa);
    return result;
  }
  es256_pk_t* es256 = es256_pk_new();
  es256_pk_from_EVP_PKEY(es256, key.get());
  const int result = fido_assert_verify(assertion.get(), 0, COSE_ES256, es256);
  es256_pk_free(&es256);
  return result;
}

using Credentials = Person;

TEST_F(Credentials, OfEachAlgorithmAreAccepted) {
  insert("a");
  for (const int algorithm : {cose::kES256, cose::kEdDSA}) {
    auto request = registration();
    request.algorithms = {-65535, algorithm};
    request.wantsAttestation = true;
    const auto credential = make(request);
    EXPECT_EQ(credential.algorithm, algorithm);
    EXPECT_EQ(verifySelf(request, credential), FIDO_OK);
    EXPECT_THAT(credential.transports, ElementsAre("usb"));
    EXPECT_EQ(credential.isDiscoverable, false);

    const auto question = signIn({"other", credential.id});
    auto assertion = get(question);
    EXPECT_EQ(assertion.id, credential.id);
    EXPECT_EQ(assertion.userHandle, std::nullopt);
    EXPECT_EQ(verify(question, assertion, credential), FIDO_OK);
    assertion.signature.back() ^= 1;
    EXPECT_NE(verify(question, assertion, credential), FIDO_OK);
  }
}

TEST_F(Credentials, WithoutAttestationCarryNoStatement) {
  insert("a");
  const auto credential = make();
  EXPECT_THAT(credential.attestationObject, HasSubstr("cfmtdnonegattStmt\xA0hauthData"));
  EXPECT_THAT(credential.attestationObject, HasSubstr(credential.authenticatorData));
}

TEST_F(Credentials, TheFirstAlgorithmThatTheKeyKnowsIsTaken) {
  insert("a", {.algorithms = {cose::kES256}});
  auto request = registration();
  request.algorithms = {cose::kEdDSA, cose::kES256};
  EXPECT_EQ(make(request).algorithm, cose::kES256);
}

TEST_F(Credentials, SeveralAccountsAreChosenFrom) {
  insert("a", {.pin = "123456"});
  std::vector<MadeCredential> made;
  for (const std::string name : {"alice", "bob", "carol"}) {
    auto request = registration();
    request.userName = name;
    request.userDisplayName = name == "bob" ? "Bob B." : "";
    request.userId = "id of " + name;
    request.residentKey = Requirement::required;
    whenAskedForPIN("123456");
    made.push_back(make(request));
    EXPECT_EQ(made.back().isDiscoverable, true);
  }
  auto question = signIn();
  question.userVerification = Requirement::preferred;
  whenAskedForPIN("123456");
  when(PasskeyStep::account, [this] { sheet->choose(1); });
  const auto assertion = get(question);
  EXPECT_THAT(lastOf(PasskeyStep::account).choices, ElementsAre("alice", "Bob B. (bob)", "carol"));
  EXPECT_EQ(assertion.userHandle, "id of bob");
  EXPECT_EQ(verify(question, assertion, made[1]), FIDO_OK);

  // A person who has not been verified is told no names.
  when(PasskeyStep::account, [this] { sheet->choose(2); });
  EXPECT_EQ(get().userHandle, "id of carol");
  EXPECT_THAT(lastOf(PasskeyStep::account).choices,
              ElementsAre("Account 1", "Account 2", "Account 3"));
}

TEST_F(Credentials, AListTooLongForTheKeyIsAskedInPortions) {
  const auto key = insert("a", {.mostIds = 3});
  const auto credential = make();
  std::vector<std::string> ids;
  for (char c = 'a'; c < 'k'; ++c) ids.emplace_back(16, c);
  ids.insert(ids.begin() + 7, credential.id);
  EXPECT_EQ(get(signIn(ids)).id, credential.id);

  auto again = registration();
  again.excluded = ids;
  cancelAt(PasskeyStep::notice);
  EXPECT_EQ(failToMake(again).failure, PasskeyFailure::excluded);
}

}  // namespace
}  // namespace veltrane::testing
