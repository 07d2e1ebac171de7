#include "tests/support/simulated_crypto.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/params.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include "tests/support/cbor_text.h"

namespace veltrane::testing {
namespace {

using namespace cbor;

const unsigned char* data(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}
unsigned char* room(std::string& bytes) {
  return reinterpret_cast<unsigned char*>(bytes.data());
}

std::string publicBytes(EVP_PKEY* key) {
  std::string bytes(80, '\0');
  std::size_t size = 0;
  EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, room(bytes), bytes.size(), &size);
  bytes.resize(size);
  return bytes;
}
}  // namespace

std::string sha256(std::string_view bytes) {
  std::string digest(32, '\0');
  SHA256(data(bytes), bytes.size(), room(digest));
  return digest;
}
std::string hmac(std::string_view key, std::string_view bytes) {
  std::string code(32, '\0');
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), data(bytes), bytes.size(),
       room(code), nullptr);
  return code;
}

namespace {
/// AES-256-CBC, without padding.
std::string aes(std::string_view key, std::string_view start, std::string_view bytes,
                bool encrypt) {
  const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(),
                                                                           EVP_CIPHER_CTX_free);
  std::string out(bytes.size() + 16, '\0');
  int size = 0;
  EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, data(key), data(start),
                    encrypt ? 1 : 0);
  EVP_CIPHER_CTX_set_padding(context.get(), 0);
  EVP_CipherUpdate(context.get(), room(out), &size, data(bytes), static_cast<int>(bytes.size()));
  out.resize(static_cast<std::size_t>(size));
  return out;
}
}  // namespace

std::string randomBytes(std::size_t count) {
  std::string bytes(count, '\0');
  RAND_bytes(room(bytes), static_cast<int>(count));
  return bytes;
}

std::shared_ptr<EVP_PKEY> newKey(int algorithm) {
  EVP_PKEY* key = algorithm == -8 ? EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")
                                  : EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256");
  return {key, EVP_PKEY_free};
}
std::string coseKey(EVP_PKEY* key, int algorithm) {
  if (algorithm == -8) {
    return map({{number(1), number(1)},
                {number(3), number(-8)},
                {number(-1), number(6)},
                {number(-2), bytes(publicBytes(key))}});
  }
  std::string point(65, '\0');
  std::size_t size = 0;
  EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY, room(point),
                                  point.size(), &size);
  return map({{number(1), number(2)},
              {number(3), number(algorithm)},
              {number(-1), number(1)},
              {number(-2), bytes(point.substr(1, 32))},
              {number(-3), bytes(point.substr(33))}});
}
std::string sign(EVP_PKEY* key, int algorithm, std::string_view message) {
  const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                   EVP_MD_CTX_free);
  std::string signature(128, '\0');
  std::size_t size = signature.size();
  EVP_DigestSignInit(context.get(), nullptr, algorithm == -8 ? nullptr : EVP_sha256(), nullptr,
                     key);
  EVP_DigestSign(context.get(), room(signature), &size, data(message), message.size());
  signature.resize(size);
  return signature;
}

namespace {
/// Empty when the other's key is no point.
std::string agree(EVP_PKEY* own, const std::string& x, const std::string& y) {
  std::string point = "\x04" + x + y;
  char group[] = "P-256";
  OSSL_PARAM params[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group, 0),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()),
      OSSL_PARAM_construct_end()};
  using Context = std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX*)>;
  const Context reader(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr), EVP_PKEY_CTX_free);
  EVP_PKEY* other = nullptr;
  if (EVP_PKEY_fromdata_init(reader.get()) != 1 ||
      EVP_PKEY_fromdata(reader.get(), &other, EVP_PKEY_PUBLIC_KEY, params) != 1) {
    return {};
  }
  const std::shared_ptr<EVP_PKEY> owner(other, EVP_PKEY_free);
  const Context context(EVP_PKEY_CTX_new(own, nullptr), EVP_PKEY_CTX_free);
  std::string common(32, '\0');
  std::size_t size = common.size();
  EVP_PKEY_derive_init(context.get());
  EVP_PKEY_derive_set_peer(context.get(), other);
  EVP_PKEY_derive(context.get(), room(common), &size);
  return common;
}

constexpr std::size_t kBlock = 16;
}  // namespace

PINProtocol::PINProtocol(int number, evp_pkey_st* own, const std::string& x, const std::string& y)
    : number_(number) {
  const std::string common = agree(own, x, y);
  if (common.empty()) return;
  const std::string extracted = hmac(std::string(32, '\0'), common);
  const auto expanded = [&](const std::string& purpose) { return hmac(extracted, purpose + '\1'); };
  aesKey_ = number == 1 ? sha256(common) : expanded("CTAP2 AES key");
  hmacKey_ = number == 1 ? aesKey_ : expanded("CTAP2 HMAC key");
}

std::string PINProtocol::encrypt(const std::string& bytes) const {
  const std::string start = number_ == 1 ? std::string(kBlock, '\0') : randomBytes(kBlock);
  return (number_ == 1 ? "" : start) + aes(aesKey_, start, bytes, true);
}

std::string PINProtocol::decrypt(const std::string& bytes) const {
  if (number_ == 1) return aes(aesKey_, std::string(kBlock, '\0'), bytes, false);
  return bytes.size() < kBlock ? ""
                               : aes(aesKey_, bytes.substr(0, kBlock), bytes.substr(kBlock), false);
}

std::string PINProtocol::proofOf(const std::string& message) const {
  return proof(number_, hmacKey_, message);
}

std::string PINProtocol::proof(int number, const std::string& key, const std::string& message) {
  return hmac(key, message).substr(0, number == 1 ? 16 : 32);
}

}  // namespace veltrane::testing
