#include "platform/authenticator/software_key_keeper.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <utility>

#include "platform/authenticator/openssl_error.h"
#include "platform/authenticator/signing_key.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {
namespace {

constexpr char kVersion = 2;
constexpr char kFormerVersion = 1;
constexpr std::size_t kNonceSize = 12;
constexpr std::size_t kTagSize = 16;
constexpr std::size_t kHeadSize = 1 + kNonceSize;

const EVP_CIPHER* cipher() {
  static const EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
  return fetched;
}

/// Version, algorithm, context: what a sealed key is bound to.
std::string boundTo(char version, int algorithm, const KeyContext& context) {
  std::string bound{version};
  for (int shift = 24; shift >= 0; shift -= 8) {
    bound.push_back(static_cast<char>(static_cast<unsigned>(algorithm) >> shift));
  }
  return bound.append(version == kFormerVersion ? context.formerBytes() : context.bytes());
}

/// Encrypts or decrypts `size` bytes in one go, the bound bytes first.
bool crypt(EVP_CIPHER_CTX* context, std::string_view bound, const unsigned char* from,
           std::size_t size, unsigned char* to) {
  int length = 0;
  return EVP_CipherUpdate(context, nullptr, &length, asBytes(bound),
                          static_cast<int>(bound.size())) > 0 &&
         EVP_CipherUpdate(context, to, &length, from, static_cast<int>(size)) > 0;
}

PasskeyResult<std::string> seal(const Secret& key, std::string_view bound, const Secret& plain) {
  std::string sealed(kHeadSize + plain.size() + kTagSize, kVersion);
  unsigned char* const nonce = asBytes(sealed) + 1;
  unsigned char* const tag = asBytes(sealed) + kHeadSize + plain.size();
  const CipherContextPtr context(EVP_CIPHER_CTX_new());
  int length = 0;
  if (key.size() != SoftwareKeyKeeper::kWrappingKeySize || !context ||
      RAND_bytes(nonce, kNonceSize) <= 0 ||
      EVP_EncryptInit_ex(context.get(), cipher(), nullptr, asBytes(key.bytes()), nonce) <= 0 ||
      !crypt(context.get(), bound, asBytes(plain.bytes()), plain.size(), nonce + kNonceSize) ||
      EVP_EncryptFinal_ex(context.get(), tag, &length) <= 0 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, kTagSize, tag) <= 0) {
    return opensslError("seal a key");
  }
  return sealed;
}

PasskeyResult<Secret> open(const Secret& key, int algorithm, const KeyContext& owner,
                           std::string_view sealed) {
  if (sealed.size() < kHeadSize + kTagSize ||
      (sealed[0] != kVersion && sealed[0] != kFormerVersion)) {
    return PasskeyError{.cause = "The stored key is damaged."};
  }
  const auto bound = boundTo(sealed[0], algorithm, owner);
  std::string tag(sealed.substr(sealed.size() - kTagSize));
  const std::string_view inner = sealed.substr(kHeadSize, sealed.size() - kHeadSize - kTagSize);
  std::string plain(inner.size(), '\0');
  const CipherContextPtr context(EVP_CIPHER_CTX_new());
  int length = 0;
  const bool isOpen =
      key.size() == SoftwareKeyKeeper::kWrappingKeySize && context &&
      EVP_DecryptInit_ex(context.get(), cipher(), nullptr, asBytes(key.bytes()),
                         asBytes(sealed) + 1) > 0 &&
      crypt(context.get(), bound, asBytes(inner), inner.size(), asBytes(plain)) &&
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, kTagSize, tag.data()) > 0 &&
      EVP_DecryptFinal_ex(context.get(), asBytes(tag), &length) > 0;
  Secret opened(std::move(plain));
  if (!isOpen) return opensslError("open a stored key; another wrapping key may have sealed it");
  return opened;
}

}  // namespace

SoftwareKeyKeeper::SoftwareKeyKeeper(std::string name, Secret wrappingKey)
    : name_(std::move(name)),
      wrappingKey_(std::move(wrappingKey)),
      maker_(std::make_unique<SigningKeyMaker>()) {}

SoftwareKeyKeeper::~SoftwareKeyKeeper() = default;

std::vector<int> SoftwareKeyKeeper::algorithms() const {
  return {cose::kES256, cose::kEdDSA};
}

PasskeyResult<KeyKeeper::NewKey> SoftwareKeyKeeper::makeKey(int algorithm,
                                                            const KeyContext& context) {
  auto made = maker_->make(algorithm);
  if (auto* error = std::get_if<PasskeyError>(&made)) return std::move(*error);
  auto& key = std::get<SigningKey>(made);
  auto sealed = seal(wrappingKey_, boundTo(kVersion, algorithm, context), key.plain);
  if (auto* error = std::get_if<PasskeyError>(&sealed)) return std::move(*error);
  return NewKey{std::get<std::string>(std::move(sealed)), std::move(key.publicKey)};
}

PasskeyResult<std::string> SoftwareKeyKeeper::sign(int algorithm, std::string_view sealed,
                                                   const KeyContext& context,
                                                   std::string_view message) {
  auto plain = open(wrappingKey_, algorithm, context, sealed);
  if (auto* error = std::get_if<PasskeyError>(&plain)) return std::move(*error);
  return signWith(std::get<Secret>(plain), algorithm, message);
}

PasskeyResult<std::string> SoftwareKeyKeeper::renewed(int algorithm, std::string_view sealed,
                                                      const KeyContext& context) {
  if (!sealed.starts_with(kFormerVersion)) return std::string(sealed);
  auto plain = open(wrappingKey_, algorithm, context, sealed);
  if (auto* error = std::get_if<PasskeyError>(&plain)) return std::move(*error);
  return seal(wrappingKey_, boundTo(kVersion, algorithm, context), std::get<Secret>(plain));
}

}  // namespace veltrane::authenticator
