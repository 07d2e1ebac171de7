#include "apps/vtflow/doctor/machine.h"

#include <utility>

#include "platform/authenticator/secret_service_key.h"
#include "platform/authenticator/tpm_key_keeper.h"
#include "platform/fido2/key_findings.h"
#include "veltrane/passkeys/relying_party_id.h"

namespace veltrane::tool {
namespace {

using State = Finding::State;

std::string hostOf(const std::string& origin) {
  const auto scheme = origin.find("://");
  const std::string behindScheme = origin.substr(scheme == std::string::npos ? 0 : scheme + 3);
  return behindScheme.substr(0, behindScheme.find(':'));
}

bool isDomain(const std::string& text) {
  const std::string origin = "https://" + canonicalRPId(text);
  return serializedOrigin(origin) == origin;
}

std::string remedyFor(const std::string& rpId, const std::string& origin) {
  const auto serialized = serializedOrigin(origin);
  if (!serialized) {
    return "Give the origin as https://DOMAIN, with :PORT where it is not 443; to try things out, "
           "http://localhost will do.";
  }
  const std::string host = hostOf(*serialized);
  if (host == canonicalRPId(rpId)) return "Serve the sign-in at a domain of your own below it.";
  return "Use the origin's host \"" + host + "\" as the rpId, or a domain above it that is yours.";
}

template <typename Status>
Finding keeper(const char* subject, const Status& status) {
  if (status.usable) return {State::ok, subject, "It can keep keys.", {}};
  return {State::missing, subject, status.cause, status.remedy};
}

}  // namespace

Finding judgeRelyingParty(const std::optional<std::string>& givenRPId,
                          const std::optional<std::string>& givenOrigin,
                          const PublicSuffixes& suffixes) {
  if (givenRPId && !isDomain(*givenRPId)) {
    return {State::fatal, "rpId", "\"" + *givenRPId + "\" is not a domain name.",
            "Give the domain alone, such as example.com; to try things out, localhost will do."};
  }
  const std::string origin = givenOrigin.value_or("https://" + givenRPId.value_or("localhost"));
  const std::string rpId = givenRPId.value_or(hostOf(serializedOrigin(origin).value_or("")));
  if (const auto mismatch = relyingPartyMismatch(rpId, origin, suffixes)) {
    return {State::fatal, "rpId", *mismatch, remedyFor(rpId, origin)};
  }
  return {State::ok, "rpId", "\"" + rpId + "\" may be used at " + origin + ".", {}};
}

Findings findSecurityKeys() {
  Findings findings;
  for (const auto& key : fido2::findKeys()) {
    const std::string name = key.product.empty() ? key.path : key.product + " at " + key.path;
    if (key.usable) {
      findings.push_back({State::ok, "security key", name + " can be used.", {}});
    } else {
      findings.push_back({key.path.empty() ? State::missing : State::wrong, "security key",
                          key.cause, key.remedy});
    }
  }
  return findings;
}

Findings findKeyKeepers() {
  const auto tpm = authenticator::probeTPM();
  const auto service = authenticator::probeSecretService();
  const std::string kept = tpm.usable       ? "the TPM"
                           : service.usable ? "the secret service"
                                            : "a passphrase that it asks for";
  return {
      keeper("TPM", tpm),
      keeper("secret service", service),
      {State::ok, "this device", "It makes passkeys, with their keys kept by " + kept + ".", {}}};
}

}  // namespace veltrane::tool
