// See signES256.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "platform/authenticator/signing_key.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/params.h>
#include <openssl/sha.h>

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

using CurveKey = std::unique_ptr<EC_KEY, FreeWith<EC_KEY_free>>;

const EC_GROUP* p256() {
  static const EC_GROUP* const group = EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1);
  return group;
}

/// By the calls from before OpenSSL 3: the new ones build the curve anew for each key that is
/// loaded, which takes two thirds as long as the signature.
PasskeyResult<std::string> signES256(std::string_view privateKey, std::string_view message) {
  const Number number(BN_new());
  const CurveKey key(EC_KEY_new());
  std::string signature(kLongestSignature, '\0');
  unsigned int size = 0;
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  if (!number || !key || p256() == nullptr || EC_KEY_set_group(key.get(), p256()) <= 0 ||
      BN_bin2bn(asBytes(privateKey), kPrivateSize, number.get()) == nullptr ||
      EC_KEY_set_private_key(key.get(), number.get()) <= 0) {
    return opensslError("read a stored key");
  }
  if (SHA256(asBytes(message), message.size(), digest.data()) == nullptr ||
      ECDSA_sign(0, digest.data(), digest.size(), asBytes(signature), &size, key.get()) <= 0) {
    return opensslError("sign");
  }
  signature.resize(size);
  return signature;
}

/// With its public half, which OpenSSL would otherwise calculate, at the cost of a signature.
KeyPtr loadEd25519(std::string_view pair) {
  const KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, "ED25519", nullptr));
  auto* const bytes = const_cast<char*>(pair.data());  // OpenSSL reads them only
  std::array<OSSL_PARAM, 3> parameters{
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PRIV_KEY, bytes, kPrivateSize),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, bytes + kPrivateSize,
                                        kEd25519Size),
      OSSL_PARAM_construct_end()};
  EVP_PKEY* key = nullptr;
  if (context && EVP_PKEY_fromdata_init(context.get()) > 0) {
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.data());
  }
  return KeyPtr(key);
}

PasskeyResult<std::string> signEdDSA(std::string_view pair, std::string_view message) {
  const KeyPtr key = loadEd25519(pair);
  if (!key) return opensslError("read a stored key");
  const DigestContextPtr context(EVP_MD_CTX_new());
  std::string signature(kLongestSignature, '\0');
  std::size_t size = signature.size();
  if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) <= 0 ||
      EVP_DigestSign(context.get(), asBytes(signature), &size, asBytes(message), message.size()) <=
          0) {
    return opensslError("sign");
  }
  signature.resize(size);
  return signature;
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
  // The function for raw private keys leaves a copy of them in memory.
  if (EVP_PKEY_get_octet_string_param(key.get(), OSSL_PKEY_PARAM_PRIV_KEY, asBytes(pair),
                                      kPrivateSize, &privateSize) <= 0 ||
      EVP_PKEY_get_raw_public_key(key.get(), asBytes(pair) + kPrivateSize, &publicSize) <= 0) {
    return opensslError("read a new key");
  }
  std::string spki = toSPKI({cose::kEdDSA, std::string_view(pair).substr(kPrivateSize)});
  return SigningKey{Secret(std::move(pair)), std::move(spki)};
}

PasskeyResult<std::string> signWith(const Secret& plain, int algorithm, std::string_view message) {
  const bool isES256 = algorithm == cose::kES256;
  if (!isES256 && algorithm != cose::kEdDSA) return unknownAlgorithm();
  if (plain.size() != (isES256 ? kPrivateSize : kPrivateSize + kEd25519Size)) {
    return PasskeyError{.cause = "The stored key is damaged."};
  }
  return isES256 ? signES256(plain.bytes(), message) : signEdDSA(plain.bytes(), message);
}

}  // namespace veltrane::authenticator
