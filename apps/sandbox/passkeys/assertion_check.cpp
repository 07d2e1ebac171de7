#include "apps/sandbox/passkeys/assertion_check.h"

#include <fido.h>
#include <fido/eddsa.h>
#include <fido/es256.h>
#include <fido/rs256.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

struct FreeAssertion {
  void operator()(fido_assert_t* assertion) const { fido_assert_free(&assertion); }
};
using Assertion = std::unique_ptr<fido_assert_t, FreeAssertion>;

/// `makeKey`, `readKey`, `freeKey`: libfido2's for one kind of key.
template <typename Key>
int verifyWith(const fido_assert_t* assertion, const PublicKey& key, Key* (*makeKey)(),
               int (*readKey)(Key*, const void*, std::size_t), void (*freeKey)(Key**)) {
  Key* made = makeKey();
  int outcome = readKey(made, key.bytes.data(), key.bytes.size());
  if (outcome == FIDO_OK) outcome = fido_assert_verify(assertion, 0, key.algorithm, made);
  freeKey(&made);
  return outcome;
}

int verify(const fido_assert_t* assertion, const PublicKey& key) {
  switch (key.algorithm) {
    case COSE_ES256:
      return verifyWith(assertion, key, es256_pk_new, es256_pk_from_ptr, es256_pk_free);
    case COSE_EDDSA:
      return verifyWith(assertion, key, eddsa_pk_new, eddsa_pk_from_ptr, eddsa_pk_free);
    case COSE_RS256:
      return verifyWith(assertion, key, rs256_pk_new, rs256_pk_from_ptr, rs256_pk_free);
    default:
      return FIDO_ERR_UNSUPPORTED_ALGORITHM;
  }
}

Assertion makeAssertion(const std::string& data, const std::string& signature,
                        const std::string& clientDataHash, const Expectation& expected) {
  Assertion assertion(fido_assert_new());
  fido_assert_t* const one = assertion.get();
  const bool isWhole =
      fido_assert_set_rp(one, expected.rpId.c_str()) == FIDO_OK &&
      fido_assert_set_clientdata_hash(one, unsignedBytes(clientDataHash), clientDataHash.size()) ==
          FIDO_OK &&
      fido_assert_set_up(one, FIDO_OPT_TRUE) == FIDO_OK &&
      fido_assert_set_uv(one, expected.needsVerification ? FIDO_OPT_TRUE : FIDO_OPT_OMIT) ==
          FIDO_OK &&
      fido_assert_set_count(one, 1) == FIDO_OK &&
      fido_assert_set_authdata_raw(one, 0, unsignedBytes(data), data.size()) == FIDO_OK &&
      fido_assert_set_sig(one, 0, unsignedBytes(signature), signature.size()) == FIDO_OK;
  if (!isWhole) throw Refusal("badResponse", "The assertion's data cannot be read.");
  return assertion;
}

}  // namespace

std::uint32_t checkedAssertion(const nlohmann::json& response, const Expectation& expected,
                               const PublicKey& key) {
  const std::string clientDataHash = checkedClientData(response, expected);
  const std::string data = responseBytes(response, "authenticatorData");
  checkAuthenticatorData(data, expected);
  const Assertion assertion =
      makeAssertion(data, responseBytes(response, "signature"), clientDataHash, expected);
  const int outcome = verify(assertion.get(), key);
  if (outcome != FIDO_OK) {
    throw Refusal("badSignature",
                  "The signature does not verify: " + std::string(fido_strerr(outcome)) + ".");
  }
  return counterOf(data);
}

}  // namespace veltrane::sandbox
