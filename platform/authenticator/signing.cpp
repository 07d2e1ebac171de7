#include "platform/authenticator/signing.h"

#include <openssl/rand.h>

#include <utility>

#include "platform/authenticator/authenticator_data.h"
#include "platform/authenticator/openssl_error.h"

namespace veltrane::authenticator {
namespace {

constexpr std::size_t kIdSize = 32;

std::uint8_t flagsOf(bool isVerified) {
  return flags::kUserPresent | (isVerified ? flags::kUserVerified : 0);
}

PasskeyError encodingFailed() {
  return {.cause = "The passkey's data cannot be written."};
}

Credential credentialFor(const MakeCredential& request, int algorithm) {
  Credential credential;
  credential.rpId = request.rpId;
  credential.userId = request.userId;
  credential.userName = request.userName;
  credential.userDisplayName = request.userDisplayName;
  credential.algorithm = algorithm;
  credential.isDiscoverable = request.residentKey != Requirement::discouraged;
  credential.created = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  return credential;
}

/// The attestation object; the key signs for itself where attestation is wanted.
PasskeyResult<std::string> attest(KeyKeeper& keeper, const Credential& credential,
                                  const MakeCredential& request, const std::string& data) {
  std::optional<SelfAttestation> attestation;
  PasskeyResult<std::string> signature;
  if (request.wantsAttestation) {
    signature = keeper.sign(credential.algorithm, credential.sealed, credential.context(),
                            data + sha256(request.clientDataJSON));
    if (std::holds_alternative<PasskeyError>(signature)) return signature;
    attestation = {credential.algorithm, std::get<std::string>(signature)};
  }
  auto object = attestationObject(data, attestation);
  if (!object) return encodingFailed();
  return std::move(*object);
}

}  // namespace

PasskeyResult<Creation> create(KeyKeeper& keeper, int algorithm, const MakeCredential& request,
                               bool isVerified) {
  Credential credential = credentialFor(request, algorithm);
  credential.keeper = keeper.name();
  credential.id.resize(kIdSize);
  if (RAND_bytes(asBytes(credential.id), kIdSize) <= 0) return opensslError("make a random id");
  auto made = keeper.makeKey(algorithm, credential.context());
  if (auto* error = std::get_if<PasskeyError>(&made)) return std::move(*error);
  auto& key = std::get<KeyKeeper::NewKey>(made);
  credential.sealed = std::move(key.sealed);

  auto data = authenticatorData(
      request.rpId, flagsOf(isVerified) | flags::kAttestedCredential, 0,
      AttestedCredential{.id = credential.id, .algorithm = algorithm, .publicKey = key.publicKey});
  if (!data) return encodingFailed();
  auto object = attest(keeper, credential, request, *data);
  if (auto* error = std::get_if<PasskeyError>(&object)) return std::move(*error);

  MadeCredential answer{.id = credential.id,
                        .authenticatorData = std::move(*data),
                        .attestationObject = std::get<std::string>(std::move(object)),
                        .publicKey = std::move(key.publicKey),
                        .algorithm = algorithm,
                        .transports = {"internal"},
                        .isDiscoverable = credential.isDiscoverable};
  return Creation{std::move(credential), std::move(answer)};
}

PasskeyResult<Assertion> assertWith(KeyKeeper& keeper, const Credential& credential,
                                    std::uint32_t counter, const GetAssertion& request,
                                    bool isVerified) {
  auto data = authenticatorData(request.rpId, flagsOf(isVerified), counter);
  if (!data) return encodingFailed();
  auto signature = keeper.sign(credential.algorithm, credential.sealed, credential.context(),
                               *data + sha256(request.clientDataJSON));
  if (auto* error = std::get_if<PasskeyError>(&signature)) return std::move(*error);
  Assertion assertion{.id = credential.id,
                      .authenticatorData = std::move(*data),
                      .signature = std::get<std::string>(std::move(signature))};
  if (credential.isDiscoverable) assertion.userHandle = credential.userId;
  return assertion;
}

}  // namespace veltrane::authenticator
