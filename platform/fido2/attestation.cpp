#include "platform/fido2/attestation.h"

#include <cbor.h>
#include <fido/eddsa.h>
#include <fido/es256.h>
#include <fido/es384.h>
#include <fido/rs256.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <memory>

#include "veltrane/passkeys/cbor_bounds.h"

namespace veltrane::fido2 {
namespace {

struct CborFree {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
using Item = std::unique_ptr<cbor_item_t, CborFree>;

/// Nothing, too, when anything follows the item.
Item parse(const unsigned char* cbor, std::size_t size) {
  cbor_load_result result{};
  if (cbor == nullptr || !isBoundedCbor({reinterpret_cast<const char*>(cbor), size}))
    return nullptr;
  Item item(cbor_load(cbor, size, &result));
  return result.read == size ? std::move(item) : nullptr;
}

bool add(cbor_item_t* map, const char* name, const Item& value) {
  const Item key(cbor_build_string(name));
  return key && value && cbor_map_add(map, {.key = key.get(), .value = value.get()});
}

std::optional<std::string> serialized(const cbor_item_t* item) {
  unsigned char* buffer = nullptr;
  std::size_t room = 0;
  const std::size_t size = cbor_serialize_alloc(item, &buffer, &room);
  if (size == 0) return std::nullopt;
  std::string bytes = bytesOf(buffer, size);
  std::free(buffer);
  return bytes;
}

/// A public key as libfido2 reads it from a credential, as OpenSSL's. Null if it is no point.
template <auto make, auto free, auto read, auto convert>
EVP_PKEY* convertKey(const fido_cred_t* credential) {
  auto* key = make();
  EVP_PKEY* converted = nullptr;
  if (key != nullptr &&
      read(key, fido_cred_pubkey_ptr(credential), fido_cred_pubkey_len(credential)) == FIDO_OK) {
    converted = convert(key);
  }
  free(&key);
  return converted;
}

EVP_PKEY* keyOf(const fido_cred_t* credential) {
  switch (fido_cred_type(credential)) {
    case COSE_ES256:
      return convertKey<es256_pk_new, es256_pk_free, es256_pk_from_ptr, es256_pk_to_EVP_PKEY>(
          credential);
    case COSE_ES384:
      return convertKey<es384_pk_new, es384_pk_free, es384_pk_from_ptr, es384_pk_to_EVP_PKEY>(
          credential);
    case COSE_RS256:
      return convertKey<rs256_pk_new, rs256_pk_free, rs256_pk_from_ptr, rs256_pk_to_EVP_PKEY>(
          credential);
    case COSE_EDDSA:
      return convertKey<eddsa_pk_new, eddsa_pk_free, eddsa_pk_from_ptr, eddsa_pk_to_EVP_PKEY>(
          credential);
    default:
      return nullptr;
  }
}

}  // namespace

std::string bytesOf(const unsigned char* data, std::size_t size) {
  return data != nullptr ? std::string(reinterpret_cast<const char*>(data), size) : std::string();
}

std::optional<std::string> attestationObject(const fido_cred_t* credential, bool withStatement) {
  const char* format = withStatement ? fido_cred_fmt(credential) : "none";
  const Item statement =
      withStatement ? parse(fido_cred_attstmt_ptr(credential), fido_cred_attstmt_len(credential))
                    : Item(cbor_new_definite_map(0));
  const Item data(cbor_build_bytestring(fido_cred_authdata_raw_ptr(credential),
                                        fido_cred_authdata_raw_len(credential)));
  const Item object(cbor_new_definite_map(3));
  if (!object || format == nullptr || !add(object.get(), "fmt", Item(cbor_build_string(format))) ||
      !add(object.get(), "attStmt", statement) || !add(object.get(), "authData", data)) {
    return std::nullopt;
  }
  return serialized(object.get());
}

std::string publicKeyInfo(const fido_cred_t* credential) {
  EVP_PKEY* key = keyOf(credential);
  unsigned char* der = nullptr;
  const int size = key != nullptr ? i2d_PUBKEY(key, &der) : 0;
  std::string bytes = bytesOf(der, size > 0 ? static_cast<std::size_t>(size) : 0);
  OPENSSL_free(der);
  EVP_PKEY_free(key);
  return bytes;
}

std::optional<std::string> unwrapped(const unsigned char* cbor, std::size_t size) {
  const Item item = parse(cbor, size);
  if (!item || !cbor_isa_bytestring(item.get()) || !cbor_bytestring_is_definite(item.get())) {
    return std::nullopt;
  }
  return bytesOf(cbor_bytestring_handle(item.get()), cbor_bytestring_length(item.get()));
}

}  // namespace veltrane::fido2
