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
std::string randomBytes(std::size_t count);

/// -7 and -8, and -25 for a key to agree with.
std::shared_ptr<evp_pkey_st> newKey(int algorithm);
std::string coseKey(evp_pkey_st* key, int algorithm);
std::string sign(evp_pkey_st* key, int algorithm, std::string_view message);

/// What both sides of a key agreement know, for either of the protocols by which PINs are sent.
class PINProtocol {
 public:
  PINProtocol(int number, evp_pkey_st* own, const std::string& x, const std::string& y);
  /// Whether the other's key is a point.
  bool isAgreed() const { return !aesKey_.empty(); }
  std::string encrypt(const std::string& bytes) const;
  std::string decrypt(const std::string& bytes) const;
  std::string proofOf(const std::string& message) const;
  static std::string proof(int number, const std::string& key, const std::string& message);

 private:
  int number_;
  std::string aesKey_;
  std::string hmacKey_;
};

}  // namespace veltrane::testing
