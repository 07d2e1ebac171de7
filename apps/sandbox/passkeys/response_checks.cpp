#include "apps/sandbox/passkeys/response_checks.h"

#include <openssl/sha.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/sandbox/passkeys/base64url.h"
#include "apps/sandbox/request_check.h"
#include "veltrane/passkeys/cbor_bounds.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::size_t kFlagsAt = SHA256_DIGEST_LENGTH;
constexpr std::size_t kCounterAt = kFlagsAt + 1;
constexpr unsigned kUserPresent = 0x01;
constexpr unsigned kUserVerified = 0x04;
constexpr unsigned kBackupEligible = 0x08;
constexpr unsigned kBackedUp = 0x10;

std::string textAt(const json& object, const char* name) {
  const auto entry = object.find(name);
  return entry != object.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

Refusal unreadable(const std::string& what) {
  return {"badResponse", "The response's " + what + " cannot be read."};
}

}  // namespace

std::string credentialId(const json& response) {
  if (!response.is_object()) throw unreadable("JSON");
  if (textAt(response, "type") != "public-key") {
    throw Refusal("badResponse", "The response's \"type\" is not \"public-key\".");
  }
  const auto id = base64urlDecoded(textAt(response, "id"));
  if (!id || id->empty()) throw unreadable("\"id\"");
  if (textAt(response, "rawId") != textAt(response, "id")) {
    throw Refusal("badResponse", "The response's \"rawId\" is not its \"id\".");
  }
  return *id;
}

std::string responseBytes(const json& response, const char* name) {
  const auto inner = response.find("response");
  const bool there = inner != response.end() && inner->is_object();
  const auto bytes = base64urlDecoded(there ? textAt(*inner, name) : std::string());
  if (!bytes || bytes->empty()) throw unreadable('"' + std::string(name) + '"');
  return *bytes;
}

std::string checkedClientData(const json& response, const Expectation& expected) {
  const std::string bytes = responseBytes(response, "clientDataJSON");
  const json data = json::parse(bytes, nullptr, false);
  if (!data.is_object()) throw unreadable("\"clientDataJSON\"");
  const std::string type = textAt(data, "type");
  if (type != expected.type) {
    throw Refusal("wrongType",
                  "The client data's type is \"" + type + "\", not \"" + expected.type + "\".");
  }
  if (textAt(data, "challenge") != expected.challenge) {
    throw Refusal("wrongChallenge", "The client data's challenge is not the one that was sent.");
  }
  const std::string origin = textAt(data, "origin");
  const auto& origins = expected.origins;
  if (std::find(origins.begin(), origins.end(), origin) == origins.end()) {
    throw Refusal("wrongOrigin", "The origin \"" + origin + "\" is none of this relying party's.");
  }
  if (data.value("crossOrigin", json(false)) != false) {
    throw Refusal("wrongOrigin", "The client data comes from a page within another origin's.");
  }
  return sha256(bytes);
}

void checkAuthenticatorData(std::string_view data, const Expectation& expected) {
  if (!isBoundedAuthenticatorData(data)) throw unreadable("authenticator data");
  if (data.substr(0, kFlagsAt) != sha256(expected.rpId)) {
    throw Refusal("wrongRpId", "The authenticator data is not for \"" + expected.rpId + "\".");
  }
  const auto flags = static_cast<unsigned char>(data[kFlagsAt]);
  if (!(flags & kUserPresent)) {
    throw Refusal("userAbsent", "The authenticator data says that no user was present.");
  }
  if (expected.needsVerification && !(flags & kUserVerified)) {
    throw Refusal("userNotVerified", "The authenticator data says that no user was verified.");
  }
  if ((flags & kBackedUp) && !(flags & kBackupEligible)) {
    throw Refusal("badResponse",
                  "The authenticator data says that a passkey is backed up which cannot be.");
  }
}

std::uint32_t counterOf(std::string_view authenticatorData) {
  std::uint32_t counter = 0;
  for (const char byte : authenticatorData.substr(kCounterAt, 4)) {
    counter = counter << 8 | static_cast<unsigned char>(byte);
  }
  return counter;
}

std::string sha256(std::string_view bytes) {
  std::string digest(SHA256_DIGEST_LENGTH, '\0');
  SHA256(unsignedBytes(bytes), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()));
  return digest;
}

}  // namespace veltrane::sandbox
