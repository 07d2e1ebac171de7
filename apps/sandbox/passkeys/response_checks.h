#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace veltrane::sandbox {

/// What the answer of an authenticator is held to.
struct Expectation {
  std::string type;       ///< "webauthn.create" or "webauthn.get".
  std::string challenge;  ///< As the options told it.
  std::vector<std::string> origins;
  std::string rpId;
  bool needsVerification = false;
};

/// A credential's public key, its bytes as libfido2 keeps them.
struct PublicKey {
  int algorithm = 0;  ///< COSE's number.
  std::string bytes;
};

/// The id of the credential that a response is about, its bytes. `response` is the whole JSON of
/// it. Throws Refusal.
std::string credentialId(const nlohmann::json& response);

/// The bytes of a member of the response's "response". Throws Refusal.
std::string responseBytes(const nlohmann::json& response, const char* name);

/// Type, challenge and origin; the SHA-256 of the client data. Throws Refusal.
std::string checkedClientData(const nlohmann::json& response, const Expectation& expected);

/// The hash of the relying party's id, whether a person was there and was verified, and whether the
/// flags go together. Throws Refusal.
void checkAuthenticatorData(std::string_view data, const Expectation& expected);

/// The signature counter of such data, once it has been checked.
std::uint32_t counterOf(std::string_view authenticatorData);

std::string sha256(std::string_view bytes);

inline const unsigned char* unsignedBytes(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

}  // namespace veltrane::sandbox
