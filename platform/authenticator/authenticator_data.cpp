#include "platform/authenticator/authenticator_data.h"

#include <cbor.h>
#include <openssl/sha.h>

#include <memory>
#include <utility>

#include "platform/authenticator/openssl_error.h"
#include "platform/authenticator/public_key.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {
namespace {

struct Release {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
/// Null once something has failed; what is built of it fails too.
using Item = std::unique_ptr<cbor_item_t, Release>;

Item text(std::string_view value) {
  return Item(cbor_build_stringn(value.data(), value.size()));
}
Item bytes(std::string_view value) {
  return Item(cbor_build_bytestring(asBytes(value), value.size()));
}
Item number(int value) {
  return Item(value < 0 ? cbor_build_negint8(static_cast<std::uint8_t>(-1 - value))
                        : cbor_build_uint8(static_cast<std::uint8_t>(value)));
}

/// A map whose entries are added in CTAP2's canonical order by whoever calls.
class Map {
 public:
  explicit Map(std::size_t size) : item_(cbor_new_definite_map(size)) {}
  Map& add(Item key, Item value) {
    if (!key || !value || !item_ || !cbor_map_add(item_.get(), {key.get(), value.get()})) {
      item_.reset();
    }
    return *this;
  }
  Item take() { return std::move(item_); }

 private:
  Item item_;
};

std::optional<std::string> serialized(const Item& item) {
  if (!item) return std::nullopt;
  unsigned char* buffer = nullptr;
  std::size_t room = 0;
  const std::size_t size = cbor_serialize_alloc(item.get(), &buffer, &room);
  if (size == 0) return std::nullopt;
  const std::unique_ptr<unsigned char, FreeWith<free>> owner(buffer);
  return std::string(reinterpret_cast<const char*>(buffer), size);
}

/// The labels and values of RFC 9053: 1 key type, 3 algorithm, -1 curve, -2 x, -3 y.
std::optional<std::string> coseKey(int algorithm, std::string_view spki) {
  const auto key = fromSPKI(algorithm, spki);
  if (!key) return std::nullopt;
  if (algorithm == cose::kEdDSA) {
    return serialized(Map(4)
                          .add(number(1), number(1))
                          .add(number(3), number(algorithm))
                          .add(number(-1), number(6))
                          .add(number(-2), bytes(key->bytes))
                          .take());
  }
  return serialized(Map(5)
                        .add(number(1), number(2))
                        .add(number(3), number(algorithm))
                        .add(number(-1), number(1))
                        .add(number(-2), bytes(key->bytes.substr(1, 32)))
                        .add(number(-3), bytes(key->bytes.substr(33)))
                        .take());
}

void appendBigEndian(std::string& to, std::uint32_t value, int size) {
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
    to.push_back(static_cast<char>(value >> shift));
  }
}

}  // namespace

std::string sha256(std::string_view bytes) {
  std::string hash(SHA256_DIGEST_LENGTH, '\0');
  if (SHA256(asBytes(bytes), bytes.size(), asBytes(hash)) == nullptr) hash.clear();
  return hash;
}

std::optional<std::string> authenticatorData(std::string_view rpId, std::uint8_t flags,
                                             std::uint32_t counter,
                                             const std::optional<AttestedCredential>& credential) {
  std::string data = sha256(rpId);
  if (data.empty()) return std::nullopt;
  data.push_back(static_cast<char>(flags));
  appendBigEndian(data, counter, 4);
  if (credential) {
    const auto key = coseKey(credential->algorithm, credential->publicKey);
    if (!key) return std::nullopt;
    data.append(credential->aaguid.begin(), credential->aaguid.end());
    appendBigEndian(data, static_cast<std::uint32_t>(credential->id.size()), 2);
    data.append(credential->id).append(*key);
  }
  return data;
}

std::optional<std::string> attestationObject(std::string_view authenticatorData,
                                             const std::optional<SelfAttestation>& attestation) {
  Map statement(attestation ? 2 : 0);
  if (attestation) {
    statement.add(text("alg"), number(attestation->algorithm))
        .add(text("sig"), bytes(attestation->signature));
  }
  return serialized(Map(3)
                        .add(text("fmt"), text(attestation ? "packed" : "none"))
                        .add(text("attStmt"), statement.take())
                        .add(text("authData"), bytes(authenticatorData))
                        .take());
}

}  // namespace veltrane::authenticator
