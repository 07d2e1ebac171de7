#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace veltrane::authenticator {

/// Tells relying parties which model of authenticator made a credential: this one, whatever the
/// machine. Random once; the same for everyone, so that it tells of nobody.
constexpr std::array<unsigned char, 16> kAAGUID = {0xd5, 0x76, 0x68, 0x1b, 0x8d, 0x92, 0x4f, 0x17,
                                                   0x84, 0x81, 0x53, 0x15, 0x4e, 0x20, 0x07, 0x75};

namespace flags {
constexpr std::uint8_t kUserPresent = 0x01;
constexpr std::uint8_t kUserVerified = 0x04;
constexpr std::uint8_t kAttestedCredential = 0x40;
}  // namespace flags

/// What the authenticator says of a new credential.
struct AttestedCredential {
  std::array<unsigned char, 16> aaguid = kAAGUID;
  std::string_view id;
  int algorithm = 0;
  /// SubjectPublicKeyInfo.
  std::string_view publicKey;
};

/// SHA-256; empty when OpenSSL cannot.
std::string sha256(std::string_view bytes);

/// The authenticator data that is signed. `credential` goes with `kAttestedCredential`. Nothing
/// when a key cannot be read or there is no memory.
std::optional<std::string> authenticatorData(
    std::string_view rpId, std::uint8_t flags, std::uint32_t counter,
    const std::optional<AttestedCredential>& credential = std::nullopt);

/// A key's own signature on its making: attestation of format "packed" without a certificate.
struct SelfAttestation {
  int algorithm = 0;
  std::string_view signature;
};

/// CBOR of format "packed", or "none" without an attestation. The AAGUID stays in the latter too:
/// it is that of a model, and what a relying party shows people to tell their passkeys by.
std::optional<std::string> attestationObject(std::string_view authenticatorData,
                                             const std::optional<SelfAttestation>& attestation);

}  // namespace veltrane::authenticator
