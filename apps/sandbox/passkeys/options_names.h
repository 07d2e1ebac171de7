#pragma once

/// The members of an answer that hold a passkey's options.
namespace veltrane::sandbox::passkeys {

constexpr const char* kCreationOptions = "publicKeyCredentialCreationOptions";
constexpr const char* kRequestOptions = "initiateAuthenticationResponse";

}  // namespace veltrane::sandbox::passkeys
