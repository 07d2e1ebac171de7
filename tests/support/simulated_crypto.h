#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct evp_pkey_st;

// What a security key computes.
namespace veltrane::testing {

std::string sha256(std::string_view bytes);
std::string hmac(std::string_view key, std::string_view bytes);
/// AES-256-CBC from a start of zeros, without padding.
std::string aes(std::string_view key, std::string_view bytes, bool encrypt);
std::string randomBytes(std::size_t count);

/// -7 and -8, and -25 for a key to agree with.
std::shared_ptr<evp_pkey_st> newKey(int algorithm);
std::string coseKey(evp_pkey_st* key, int algorithm);
std::string sign(evp_pkey_st* key, int algorithm, std::string_view message);
/// What both sides of a key agreement know. Empty when the other's key is no point.
std::string agree(evp_pkey_st* own, const std::string& x, const std::string& y);

}  // namespace veltrane::testing
