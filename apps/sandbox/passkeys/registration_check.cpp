#include "apps/sandbox/passkeys/registration_check.h"

#include <cbor.h>
#include <fido.h>

#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "apps/sandbox/request_check.h"
#include "veltrane/passkeys/cbor_bounds.h"

namespace veltrane::sandbox {
namespace {

struct FreeItem {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
struct FreeCredential {
  void operator()(fido_cred_t* credential) const { fido_cred_free(&credential); }
};
using Item = std::unique_ptr<cbor_item_t, FreeItem>;
using Credential = std::unique_ptr<fido_cred_t, FreeCredential>;

Refusal badAttestation(const std::string& message) {
  return {"badAttestation", message};
}

struct AttestationObject {
  std::string format;
  std::string statement;  // CBOR
  int statementAlgorithm = 0;
  std::string authenticatorData;
};

std::string_view textOf(const cbor_item_t* item) {
  if (!cbor_isa_string(item) || !cbor_string_is_definite(item)) return {};
  return {reinterpret_cast<const char*>(cbor_string_handle(item)), cbor_string_length(item)};
}

std::string bytesOf(const cbor_item_t* item) {
  if (!cbor_isa_bytestring(item) || !cbor_bytestring_is_definite(item)) return {};
  return {reinterpret_cast<const char*>(cbor_bytestring_handle(item)),
          cbor_bytestring_length(item)};
}

std::string encoded(const cbor_item_t* item) {
  unsigned char* buffer = nullptr;
  std::size_t room = 0;
  const std::size_t size = cbor_serialize_alloc(item, &buffer, &room);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(buffer, std::free);
  return {reinterpret_cast<const char*>(buffer), size};
}

/// The "alg" of a statement, COSE's number; 0 where there is none. Those in use are negative.
int algorithmIn(const cbor_item_t* statement) {
  const cbor_pair* const pairs = cbor_map_handle(statement);
  for (std::size_t i = 0; i < cbor_map_size(statement); ++i) {
    const bool isIt = textOf(pairs[i].key) == "alg" && cbor_isa_negint(pairs[i].value);
    if (isIt && cbor_get_int(pairs[i].value) < 0xFFFF) {
      return -1 - static_cast<int>(cbor_get_int(pairs[i].value));
    }
  }
  return 0;
}

AttestationObject readObject(std::string_view bytes) {
  cbor_load_result result{};
  const Item root(isBoundedCbor(bytes) ? cbor_load(unsignedBytes(bytes), bytes.size(), &result)
                                       : nullptr);
  if (!root || result.read != bytes.size() || !cbor_isa_map(root.get())) {
    throw badAttestation("The attestation object is no CBOR map.");
  }
  AttestationObject object;
  const cbor_pair* const pairs = cbor_map_handle(root.get());
  for (std::size_t i = 0; i < cbor_map_size(root.get()); ++i) {
    const auto name = textOf(pairs[i].key);
    if (name == "fmt") object.format = textOf(pairs[i].value);
    if (name == "authData") object.authenticatorData = bytesOf(pairs[i].value);
    if (name == "attStmt" && cbor_isa_map(pairs[i].value)) {
      object.statement = encoded(pairs[i].value);
      object.statementAlgorithm = algorithmIn(pairs[i].value);
    }
  }
  if (object.format.empty() || object.statement.empty() || object.authenticatorData.empty()) {
    throw badAttestation("The attestation object lacks \"fmt\", \"attStmt\" or \"authData\".");
  }
  return object;
}

/// The data with its credential, which has one of the algorithms; libfido2 wants to know which.
Credential readCredential(const std::string& data, const Expectation& expected,
                          const std::string& clientDataHash, const std::vector<int>& algorithms) {
  for (const int algorithm : algorithms) {
    Credential credential(fido_cred_new());
    fido_cred_t* const one = credential.get();
    if (fido_cred_set_type(one, algorithm) == FIDO_OK &&
        fido_cred_set_rp(one, expected.rpId.c_str(), nullptr) == FIDO_OK &&
        fido_cred_set_clientdata_hash(one, unsignedBytes(clientDataHash), clientDataHash.size()) ==
            FIDO_OK &&
        fido_cred_set_authdata_raw(one, unsignedBytes(data), data.size()) == FIDO_OK) {
      return credential;
    }
  }
  throw badAttestation(
      "The authenticator data holds no credential of an algorithm that the options offer.");
}

void checkStatement(const AttestationObject& object, fido_cred_t* credential) {
  if (object.format == "none") {
    if (object.statement != "\xA0") throw badAttestation("A statement came with format \"none\".");
    return;
  }
  const auto& statement = object.statement;
  if (fido_cred_set_fmt(credential, object.format.c_str()) != FIDO_OK ||
      fido_cred_set_attstmt(credential, unsignedBytes(statement), statement.size()) != FIDO_OK) {
    throw badAttestation("The attestation statement of format \"" + object.format +
                         "\" cannot be read.");
  }
  const bool isSelf = fido_cred_x5c_len(credential) == 0;
  // libfido2 goes by the key's algorithm, whatever the statement says.
  if (isSelf && object.statementAlgorithm != fido_cred_type(credential)) {
    throw badAttestation("The statement's algorithm is not that of the credential's key.");
  }
  const int outcome = isSelf ? fido_cred_verify_self(credential) : fido_cred_verify(credential);
  if (outcome != FIDO_OK) {
    throw Refusal("badSignature", "The attestation statement does not verify: " +
                                      std::string(fido_strerr(outcome)) + ".");
  }
}

}  // namespace

Registration checkedRegistration(const nlohmann::json& response, const Expectation& expected,
                                 const std::vector<int>& algorithms) {
  const std::string id = credentialId(response);
  const std::string clientDataHash = checkedClientData(response, expected);
  const AttestationObject object = readObject(responseBytes(response, "attestationObject"));
  checkAuthenticatorData(object.authenticatorData, expected);
  const Credential credential =
      readCredential(object.authenticatorData, expected, clientDataHash, algorithms);
  const fido_cred_t* const one = credential.get();
  if (id != std::string_view(reinterpret_cast<const char*>(fido_cred_id_ptr(one)),
                             fido_cred_id_len(one))) {
    throw Refusal("badResponse", "The response's \"id\" is not that of the credential.");
  }
  checkStatement(object, credential.get());
  return {.id = id,
          .key = {.algorithm = fido_cred_type(one),
                  .bytes = {reinterpret_cast<const char*>(fido_cred_pubkey_ptr(one)),
                            fido_cred_pubkey_len(one)}},
          .counter = counterOf(object.authenticatorData)};
}

}  // namespace veltrane::sandbox
