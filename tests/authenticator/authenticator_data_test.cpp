// Authenticator data and attestation objects against the vector "none.ES256" that WebAuthn Level 3
// publishes: its private key, AAGUID, credential id and challenge, and what must come of them.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/authenticator/authenticator_data.h"
#include "platform/authenticator/public_key.h"
#include "platform/authenticator/signing_key.h"
#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {
namespace {

constexpr const char* kX = "afefa16f97ca9b2d23eb86ccb64098d20db90856062eb249c33a9b672f26df61";
constexpr const char* kY = "930a56b87a2fca66334b03458abf879717c12cc68ed73290af2e2664796b9220";
constexpr const char* kPrivate = "6e68e7a58484a3264f66b77f5d6dc5bc36a47085b615c9727ab334e8c369c2ee";
constexpr const char* kId = "f91f391db4c9b2fde0ea70189cba3fb63f579ba6122b33ad94ff3ec330084be4";
constexpr const char* kAttestationObject =
    "a363666d74646e6f6e656761747453746d74a068617574684461746158a4"
    "bfabc37432958b063360d3ad6461c9c4735ae7f8edd46592a5e0f01452b2e4b55900000000"
    "8446ccb9ab1db374750b2367ff6f3a1f0020"
    "f91f391db4c9b2fde0ea70189cba3fb63f579ba6122b33ad94ff3ec330084be4"
    "a5010203262001215820afefa16f97ca9b2d23eb86ccb64098d20db90856062eb249c33a9b672f26df61"
    "225820930a56b87a2fca66334b03458abf879717c12cc68ed73290af2e2664796b9220";
constexpr const char* kSignature =
    "3046022100f50a4e2e4409249c4a853ba361282f09841df4dd4547a13a87780218deffcd38022100"
    "8480ac0f0b93538174f575bf11a1dd5d78c6e486013f937295ea13653e331e87";
constexpr const char* kClientData =
    R"({"type":"webauthn.get","challenge":"OcDnUhQXulTUPo3JUXT0I97pvzzYBP9tZchXyav01Ag",)"
    R"("origin":"https://example.org","crossOrigin":false})";

std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

std::string spki() {
  return toSPKI({cose::kES256, "\x04" + fromHex(kX) + fromHex(kY)});
}

TEST(PublishedVectors, AttestationObject) {
  AttestedCredential credential;
  std::ranges::copy(fromHex("8446ccb9ab1db374750b2367ff6f3a1f"), credential.aaguid.begin());
  const std::string id = fromHex(kId);
  const std::string key = spki();
  credential.id = id;
  credential.algorithm = cose::kES256;
  credential.publicKey = key;
  const auto data = authenticatorData("example.org", 0x59, 0, credential);
  ASSERT_TRUE(data);
  EXPECT_EQ(attestationObject(*data, std::nullopt), fromHex(kAttestationObject));
}

TEST(PublishedVectors, Assertion) {
  const auto data = authenticatorData("example.org", 0x19, 0);
  ASSERT_TRUE(data);
  const std::string message = *data + sha256(kClientData);
  EXPECT_TRUE(verifies(spki(), cose::kES256, message, fromHex(kSignature)));
  const auto own = valueOf(signWith(Secret(fromHex(kPrivate)), cose::kES256, message));
  EXPECT_TRUE(verifies(spki(), cose::kES256, message, own));
}

TEST(PublicKeys, OfAnotherFormAreRefused) {
  const std::string point = "\x04" + std::string(64, 'x');
  const std::string key = toSPKI({cose::kES256, point});
  EXPECT_EQ(fromSPKI(cose::kES256, key)->bytes, point);
  EXPECT_FALSE(fromSPKI(cose::kEdDSA, key));
  EXPECT_FALSE(fromSPKI(-257, key));
  EXPECT_FALSE(fromSPKI(cose::kES256, key.substr(0, key.size() - 1)));
  EXPECT_EQ(toSPKI({cose::kEdDSA, point}), "");
  std::string compressed = key;
  compressed[26] = '\x02';
  EXPECT_FALSE(fromSPKI(cose::kES256, compressed));
  EXPECT_FALSE(
      authenticatorData("example.org", 0x41, 0,
                        AttestedCredential{.algorithm = cose::kES256, .publicKey = compressed}));
}

}  // namespace
}  // namespace veltrane::authenticator::testing
