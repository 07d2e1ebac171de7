#include "veltrane/passkeys/webauthn_responses.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "veltrane/base/base64.h"
#include "veltrane/base/dictionary.h"

namespace veltrane {
namespace {

JSON credential(std::string_view id, const Dictionary& response, const std::string& attachment,
                const Dictionary& extensions) {
  const std::string text = base64URLEncoded(id);
  return Dictionary{{"id", text},
                    {"rawId", text},
                    {"type", "public-key"},
                    {"authenticatorAttachment", attachment},
                    {"response", JSON(response)},
                    {"clientExtensionResults", JSON(extensions)}};
}

}  // namespace

JSON registrationResponse(const MadeCredential& made, std::string_view clientDataJSON,
                          const std::string& attachment, bool tellsProperties) {
  const std::vector<JSON> transports(made.transports.begin(), made.transports.end());
  Dictionary response{{"clientDataJSON", base64URLEncoded(clientDataJSON)},
                      {"attestationObject", base64URLEncoded(made.attestationObject)},
                      {"authenticatorData", base64URLEncoded(made.authenticatorData)},
                      {"transports", JSON::array(transports)},
                      {"publicKeyAlgorithm", made.algorithm}};
  if (!made.publicKey.empty()) response.set("publicKey", base64URLEncoded(made.publicKey));
  Dictionary extensions;
  if (tellsProperties) {
    Dictionary properties;
    if (made.isDiscoverable) properties.set("rk", *made.isDiscoverable);
    extensions.set("credProps", JSON(properties));
  }
  return credential(made.id, response, attachment, extensions);
}

JSON authenticationResponse(const Assertion& assertion, std::string_view clientDataJSON,
                            const std::string& attachment) {
  Dictionary response{{"clientDataJSON", base64URLEncoded(clientDataJSON)},
                      {"authenticatorData", base64URLEncoded(assertion.authenticatorData)},
                      {"signature", base64URLEncoded(assertion.signature)}};
  if (assertion.userHandle) response.set("userHandle", base64URLEncoded(*assertion.userHandle));
  return credential(assertion.id, response, attachment, {});
}

}  // namespace veltrane
