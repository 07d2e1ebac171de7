#include <algorithm>

#include "platform/fido2/attestation.h"
#include "platform/fido2/key_requests.h"
#include "platform/fido2/known_ids.h"
#include "platform/fido2/verification.h"

namespace veltrane::fido2 {
namespace {

const unsigned char* data(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

/// What is asked for first of what the key knows; 0: nothing.
int algorithmFor(const KeyAbilities& abilities, const std::vector<int>& wanted) {
  const auto found = std::ranges::find_first_of(wanted, abilities.algorithms);
  return found != wanted.end() ? *found : 0;
}

bool wantsResident(const KeyAbilities& abilities, Requirement requirement) {
  return requirement == Requirement::required ||
         (requirement == Requirement::preferred && abilities.residentKeys);
}

int fill(fido_cred_t* credential, const MakeCredential& request, int algorithm, bool isResident,
         const std::vector<std::string>& excluded) {
  int result = fido_cred_set_type(credential, algorithm);
  const auto then = [&result](auto&& step) {
    if (result == FIDO_OK) result = step();
  };
  then([&] {
    return fido_cred_set_clientdata(credential, data(request.clientDataJSON),
                                    request.clientDataJSON.size());
  });
  then([&] {
    return fido_cred_set_rp(credential, request.rpId.c_str(),
                            (request.rpName.empty() ? request.rpId : request.rpName).c_str());
  });
  then([&] {
    return fido_cred_set_user(credential, data(request.userId), request.userId.size(),
                              request.userName.c_str(), request.userDisplayName.c_str(), nullptr);
  });
  then([&] { return fido_cred_set_rk(credential, isResident ? FIDO_OPT_TRUE : FIDO_OPT_OMIT); });
  for (const auto& id : excluded) {
    then([&] { return fido_cred_exclude(credential, data(id), id.size()); });
  }
  return result;
}

std::variant<int, MadeCredential> madeFrom(const fido_cred_t* credential, const KeyConnection& key,
                                           const MakeCredential& request, bool isResident) {
  auto object = attestationObject(credential, request.wantsAttestation);
  MadeCredential made{
      .id = bytesOf(fido_cred_id_ptr(credential), fido_cred_id_len(credential)),
      .authenticatorData =
          bytesOf(fido_cred_authdata_raw_ptr(credential), fido_cred_authdata_raw_len(credential)),
      .publicKey = publicKeyInfo(credential),
      .algorithm = fido_cred_type(credential),
      .transports = key.abilities().transports,
      .isDiscoverable = isResident,
  };
  if (!object || made.id.empty() || made.publicKey.empty()) return FIDO_ERR_RX_INVALID_CBOR;
  made.attestationObject = std::move(*object);
  return made;
}

}  // namespace

std::variant<int, MadeCredential> makeOn(KeyConnection& key, Conversation& talk,
                                         const Occasion& occasion, const MakeCredential& request) {
  const int algorithm = algorithmFor(key.abilities(), request.algorithms);
  if (algorithm == 0) return FIDO_ERR_UNSUPPORTED_ALGORITHM;
  const bool isResident = wantsResident(key.abilities(), request.residentKey);
  if (isResident && !key.abilities().residentKeys) return FIDO_ERR_UNSUPPORTED_OPTION;
  std::vector<std::string> excluded;
  int result = narrowToKey(key, request.rpId, request.excluded, excluded);
  if (result != FIDO_OK) return result;
  const Fido<fido_cred_t> credential(fido_cred_new());
  if (!credential) return FIDO_ERR_INTERNAL;
  result = fill(credential.get(), request, algorithm, isResident, excluded);
  if (result != FIDO_OK) return result;
  result =
      verified(key, talk, occasion, request.userVerification, [&](const char* pin, bool byKey) {
        fido_cred_set_uv(credential.get(), byKey ? FIDO_OPT_TRUE : FIDO_OPT_OMIT);
        return fido_dev_make_cred(key.device(), credential.get(), pin);
      });
  if (result != FIDO_OK) return result;
  return madeFrom(credential.get(), key, request, isResident);
}

}  // namespace veltrane::fido2
