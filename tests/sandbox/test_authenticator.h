#pragma once

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace veltrane::sandbox::test {

/// One passkey outside any store, which answers options as an authenticator and its client do
/// together. What a test spoils is a field here.
class TestAuthenticator {
 public:
  enum class Kind { es256, eddsa };

  explicit TestAuthenticator(Kind kind = Kind::es256);

  /// To creation options, with a packed statement signed by the passkey itself, or none.
  nlohmann::json registration(const nlohmann::json& options);
  /// To request options.
  nlohmann::json assertion(const nlohmann::json& options);

  std::string id = "a credential's id";
  std::string rpId = "localhost";
  std::string origin = "https://localhost";
  std::string format = "packed";
  std::string userHandle;  ///< Bytes; what registration took over.
  unsigned flags = 0x05;   ///< Of a user who is there and verified.
  std::uint32_t counter = 1;
  bool flipsSignature = false;       ///< One bit of it.
  std::optional<int> algorithmTold;  ///< By the statement, instead of the key's.

 private:
  std::string clientData(const char* type, const nlohmann::json& options) const;
  std::string authenticatorData(unsigned flags, const std::string& credential) const;
  std::string coseKey() const;
  std::string signatureOf(const std::string& message) const;
  nlohmann::json credential(nlohmann::json response) const;

  Kind kind_;
  std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key_;
};

}  // namespace veltrane::sandbox::test
