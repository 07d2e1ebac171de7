#pragma once

#include <fido.h>

#include <cstddef>
#include <optional>
#include <string>

namespace veltrane::fido2 {

/// Bytes that a C library owns; empty for a null pointer.
std::string bytesOf(const unsigned char* data, std::size_t size);

/// The attestation object of a credential: the key's own statement, or format "none". Nothing when
/// the key's statement is no CBOR.
std::optional<std::string> attestationObject(const fido_cred_t* credential, bool withStatement);

/// SubjectPublicKeyInfo of a credential's key in DER; empty for an algorithm unknown here.
std::string publicKeyInfo(const fido_cred_t* credential);

/// The content of a CBOR byte string. Nothing when it is none.
std::optional<std::string> unwrapped(const unsigned char* cbor, std::size_t size);

}  // namespace veltrane::fido2
