#include <algorithm>

#include "platform/fido2/attestation.h"
#include "platform/fido2/key_requests.h"
#include "platform/fido2/known_ids.h"
#include "platform/fido2/verification.h"
#include "veltrane/passkeys/display_text.h"

namespace veltrane::fido2 {
namespace {

const unsigned char* data(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

int fill(fido_assert_t* question, const GetAssertion& request,
         const std::vector<std::string>& allowed) {
  int result = fido_assert_set_rp(question, request.rpId.c_str());
  if (result == FIDO_OK) {
    result = fido_assert_set_clientdata(question, data(request.clientDataJSON),
                                        request.clientDataJSON.size());
  }
  for (const auto& id : allowed) {
    if (result == FIDO_OK) result = fido_assert_allow_cred(question, data(id), id.size());
  }
  return result;
}

std::string accountName(const fido_assert_t* answer, std::size_t index) {
  const auto text = [](const char* name) { return std::string(name != nullptr ? name : ""); };
  const std::string name = accountText(text(fido_assert_user_name(answer, index)),
                                       text(fido_assert_user_display_name(answer, index)));
  // A key tells names only to a person it has verified.
  return name.empty() ? "Account " + std::to_string(index + 1) : name;
}

/// The index of the assertion to give. Nothing: the request is over.
std::optional<std::size_t> pick(const fido_assert_t* answer, Conversation& talk,
                                const Occasion& occasion) {
  const std::size_t count = fido_assert_count(answer);
  if (count < 2) return 0;
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.push_back(accountName(answer, i));
  const auto picked = talk.ask(pickAccount(occasion, std::move(names)));
  return picked ? std::optional(std::min(picked->choice, count - 1)) : std::nullopt;
}

std::variant<int, Assertion> assertionFrom(const fido_assert_t* answer, std::size_t index,
                                           const std::vector<std::string>& allowed) {
  const auto authenticatorData =
      unwrapped(fido_assert_authdata_ptr(answer, index), fido_assert_authdata_len(answer, index));
  Assertion assertion{
      .id = bytesOf(fido_assert_id_ptr(answer, index), fido_assert_id_len(answer, index)),
      .signature = bytesOf(fido_assert_sig_ptr(answer, index), fido_assert_sig_len(answer, index))};
  // A key may leave out an id that it was given alone.
  if (assertion.id.empty() && allowed.size() == 1) assertion.id = allowed.front();
  const bool isWanted = allowed.empty() || std::ranges::count(allowed, assertion.id) > 0;
  if (!authenticatorData || assertion.id.empty() || assertion.signature.empty() || !isWanted) {
    return FIDO_ERR_RX_INVALID_CBOR;
  }
  assertion.authenticatorData = *authenticatorData;
  if (const auto size = fido_assert_user_id_len(answer, index); size > 0) {
    assertion.userHandle = bytesOf(fido_assert_user_id_ptr(answer, index), size);
  }
  return assertion;
}

}  // namespace

std::variant<int, Assertion> getFrom(KeyConnection& key, Conversation& talk,
                                     const Occasion& occasion, const GetAssertion& request) {
  std::vector<std::string> allowed;
  int result = narrowToKey(key, request.rpId, request.allowed, allowed);
  if (result != FIDO_OK) return result;
  if (allowed.empty() && !request.allowed.empty()) return FIDO_ERR_NO_CREDENTIALS;
  const Fido<fido_assert_t> answer(fido_assert_new());
  if (!answer) return FIDO_ERR_INTERNAL;
  result = fill(answer.get(), request, allowed);
  if (result != FIDO_OK) return result;
  result =
      verified(key, talk, occasion, request.userVerification, [&](const char* pin, bool byKey) {
        fido_assert_set_uv(answer.get(), byKey ? FIDO_OPT_TRUE : FIDO_OPT_OMIT);
        return fido_dev_get_assert(key.device(), answer.get(), pin);
      });
  if (result != FIDO_OK) return result;
  if (fido_assert_count(answer.get()) == 0) return FIDO_ERR_NO_CREDENTIALS;
  const auto index = pick(answer.get(), talk, occasion);
  if (!index) return FIDO_ERR_KEEPALIVE_CANCEL;
  return assertionFrom(answer.get(), *index, allowed);
}

}  // namespace veltrane::fido2
