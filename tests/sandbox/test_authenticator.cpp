#include "tests/sandbox/test_authenticator.h"

#include <openssl/ec.h>

#include <stdexcept>
#include <vector>

#include "apps/sandbox/passkeys/base64url.h"
#include "apps/sandbox/passkeys/response_checks.h"

namespace veltrane::sandbox::test {
namespace {

using nlohmann::json;

constexpr unsigned kAttested = 0x40;

json binary(const std::string& bytes) {
  return json::binary({bytes.begin(), bytes.end()});
}

void must(bool done) {
  if (!done) throw std::runtime_error("OpenSSL refuses");
}

}  // namespace

TestAuthenticator::TestAuthenticator(Kind kind)
    : kind_(kind),
      key_(kind == Kind::es256 ? EVP_EC_gen("P-256")
                               : EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"),
           EVP_PKEY_free) {}

std::string TestAuthenticator::clientData(const char* type, const json& options) const {
  return json{{"type", type}, {"challenge", options["challenge"]}, {"origin", origin}}.dump();
}

std::string TestAuthenticator::coseKey() const {
  std::vector<unsigned char> point(65);
  std::size_t size = point.size();
  if (kind_ == Kind::eddsa) {
    must(EVP_PKEY_get_raw_public_key(key_.get(), point.data(), &size));
    return std::string("\xA4\x01\x01\x03\x27\x20\x06\x21\x58\x20", 10)
        .append(point.begin(), point.begin() + 32);
  }
  must(EVP_PKEY_get_octet_string_param(key_.get(), "pub", point.data(), size, &size));
  return std::string("\xA5\x01\x02\x03\x26\x20\x01\x21\x58\x20", 10)
      .append(point.begin() + 1, point.begin() + 33)
      .append("\x22\x58\x20")
      .append(point.begin() + 33, point.end());
}

std::string TestAuthenticator::authenticatorData(unsigned allFlags,
                                                 const std::string& credential) const {
  std::string data = sha256(rpId) + static_cast<char>(allFlags);
  for (const int shift : {24, 16, 8, 0}) data += static_cast<char>(counter >> shift);
  return data + credential;
}

std::string TestAuthenticator::signatureOf(const std::string& message) const {
  const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                   EVP_MD_CTX_free);
  const auto* const digest = kind_ == Kind::es256 ? EVP_sha256() : nullptr;
  std::string signature(128, '\0');
  std::size_t size = signature.size();
  must(EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, key_.get()) == 1);
  must(EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size,
                      unsignedBytes(message), message.size()) == 1);
  signature.resize(size);
  if (flipsSignature) signature.back() ^= 1;
  return signature;
}

json TestAuthenticator::credential(json response) const {
  const auto text = base64urlEncoded(id);
  return {{"id", text}, {"rawId", text}, {"type", "public-key"}, {"response", std::move(response)}};
}

json TestAuthenticator::registration(const json& options) {
  userHandle = base64urlDecoded(options["user"]["id"].get<std::string>()).value_or("");
  const auto data =
      authenticatorData(flags | kAttested, std::string(16, 'a') + '\0' +
                                               static_cast<char>(id.size()) + id + coseKey());
  const auto client = clientData("webauthn.create", options);
  json statement = json::object();
  if (format != "none") {
    statement = {{"alg", algorithmTold.value_or(kind_ == Kind::es256 ? -7 : -8)},
                 {"sig", binary(signatureOf(data + sha256(client)))}};
  }
  const auto object =
      json::to_cbor({{"fmt", format}, {"attStmt", statement}, {"authData", binary(data)}});
  return credential(
      {{"clientDataJSON", base64urlEncoded(client)},
       {"attestationObject", base64urlEncoded(std::string(object.begin(), object.end()))},
       {"transports", {"internal"}}});
}

json TestAuthenticator::assertion(const json& options) {
  ++counter;
  const auto data = authenticatorData(flags, {});
  const auto client = clientData("webauthn.get", options);
  return credential({{"clientDataJSON", base64urlEncoded(client)},
                     {"authenticatorData", base64urlEncoded(data)},
                     {"signature", base64urlEncoded(signatureOf(data + sha256(client)))},
                     {"userHandle", base64urlEncoded(userHandle)}});
}

}  // namespace veltrane::sandbox::test
