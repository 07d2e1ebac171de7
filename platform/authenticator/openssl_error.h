#pragma once

#include <openssl/evp.h>

#include <memory>
#include <string_view>

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

template <auto free>
struct FreeWith {
  template <typename Value>
  void operator()(Value* value) const {
    free(value);
  }
};

using KeyPtr = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, FreeWith<EVP_PKEY_CTX_free>>;
using CipherContextPtr = std::unique_ptr<EVP_CIPHER_CTX, FreeWith<EVP_CIPHER_CTX_free>>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>>;

/// What OpenSSL did not do ("make a key"), with its own reason for that, which it then forgets.
PasskeyError opensslError(std::string_view act);

inline const unsigned char* asBytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}
inline unsigned char* asBytes(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

}  // namespace veltrane::authenticator
