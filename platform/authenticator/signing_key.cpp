#include "platform/authenticator/signing_key.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/params.h>

#include <array>

#include "platform/authenticator/public_key.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {
namespace {

constexpr std::size_t kPrivateSize = 32;
constexpr std::size_t kEd25519Size = 32;
constexpr std::size_t kPointSize = 65;
constexpr std::size_t kLongestSignature = 80;

using Number = std::unique_ptr<BIGNUM, FreeWith<BN_clear_free>>;

PasskeyError unknownAlgorithm() {
  return {.failure = PasskeyFailure::notSupported, .cause = "unknown algorithm"};
}

KeyContextPtr p256Maker() {
  KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
  if (!context || EVP_PKEY_keygen_init(context.get()) <= 0 ||
      EVP_PKEY_CTX_set_group_name(context.get(), "P-256") <= 0) {
    return nullptr;
  }
  return context;
}

KeyPtr keyOf(const char* type, OSSL_PARAM* parameters) {
  const KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
  EVP_PKEY* key = nullptr;
  if (context && EVP_PKEY_fromdata_init(context.get()) > 0) {
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters);
  }
  return KeyPtr(key);
}

KeyPtr loadES256(std::string& bytes) {
  // OpenSSL takes numbers in the machine's order.
  const Number number(BN_bin2bn(asBytes(bytes), kPrivateSize, nullptr));
  if (!number || BN_bn2nativepad(number.get(), asBytes(bytes), kPrivateSize) < 0) return nullptr;
  std::array<char, 6> group{"P-256"};
  std::array<OSSL_PARAM, 3> parameters{
      OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group.data(), 0),
      OSSL_PARAM_construct_BN(OSSL_PKEY_PARAM_PRIV_KEY, asBytes(bytes), kPrivateSize),
      OSSL_PARAM_construct_end()};
  return keyOf("EC", parameters.data());
}

KeyPtr loadEdDSA(std::string& bytes) {
  std::array<OSSL_PARAM, 3> parameters{
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PRIV_KEY, bytes.data(), kPrivateSize),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, bytes.data() + kPrivateSize,
                                        kEd25519Size),
      OSSL_PARAM_construct_end()};
  return keyOf("ED25519", parameters.data());
}

KeyPtr load(const Secret& plain, int algorithm) {
  const bool isES256 = algorithm == cose::kES256;
  if (plain.size() != (isES256 ? kPrivateSize : kPrivateSize + kEd25519Size)) return nullptr;
  std::string bytes(plain.bytes());
  KeyPtr key = isES256 ? loadES256(bytes) : loadEdDSA(bytes);
  Secret::wipe(bytes);
  return key;
}

}  // namespace

PasskeyResult<SigningKey> SigningKeyMaker::make(int algorithm) {
  if (algorithm == cose::kES256) return makeES256();
  if (algorithm == cose::kEdDSA) return makeEdDSA();
  return unknownAlgorithm();
}

PasskeyResult<SigningKey> SigningKeyMaker::makeES256() {
  if (!p256_) p256_ = p256Maker();
  EVP_PKEY* made = nullptr;
  if (!p256_ || EVP_PKEY_generate(p256_.get(), &made) <= 0) return opensslError("make a key");
  const KeyPtr key(made);

  std::string point(kPointSize, '\0');
  std::size_t size = point.size();
  BIGNUM* number = nullptr;
  if (EVP_PKEY_get_octet_string_param(key.get(), OSSL_PKEY_PARAM_PUB_KEY, asBytes(point), size,
                                      &size) <= 0 ||
      EVP_PKEY_get_bn_param(key.get(), OSSL_PKEY_PARAM_PRIV_KEY, &number) <= 0) {
    return opensslError("read a new key");
  }
  const Number privateKey(number);
  std::string bytes(kPrivateSize, '\0');
  BN_bn2binpad(privateKey.get(), asBytes(bytes), kPrivateSize);
  return SigningKey{Secret(std::move(bytes)), toSPKI({cose::kES256, point})};
}

PasskeyResult<SigningKey> SigningKeyMaker::makeEdDSA() {
  const KeyPtr key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
  if (!key) return opensslError("make a key");
  std::string pair(kPrivateSize + kEd25519Size, '\0');
  std::size_t privateSize = kPrivateSize;
  std::size_t publicSize = kEd25519Size;
  if (EVP_PKEY_get_raw_private_key(key.get(), asBytes(pair), &privateSize) <= 0 ||
      EVP_PKEY_get_raw_public_key(key.get(), asBytes(pair) + kPrivateSize, &publicSize) <= 0) {
    return opensslError("read a new key");
  }
  std::string spki = toSPKI({cose::kEdDSA, std::string_view(pair).substr(kPrivateSize)});
  return SigningKey{Secret(std::move(pair)), std::move(spki)};
}

PasskeyResult<std::string> signWith(const Secret& plain, int algorithm, std::string_view message) {
  if (algorithm != cose::kES256 && algorithm != cose::kEdDSA) return unknownAlgorithm();
  const KeyPtr key = load(plain, algorithm);
  if (!key) return opensslError("read a stored key");
  const EVP_MD* digest = algorithm == cose::kES256 ? EVP_sha256() : nullptr;
  const DigestContextPtr context(EVP_MD_CTX_new());
  std::string signature(kLongestSignature, '\0');
  std::size_t size = signature.size();
  if (!context || EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, key.get()) <= 0 ||
      EVP_DigestSign(context.get(), asBytes(signature), &size, asBytes(message), message.size()) <=
          0) {
    return opensslError("sign");
  }
  signature.resize(size);
  return signature;
}

}  // namespace veltrane::authenticator
