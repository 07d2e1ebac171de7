#pragma once

#include <optional>
#include <string>

#include "veltrane/base/json.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane {

/// A server's options, read. Accepted are the standard's JSON forms as well as what servers make of
/// them: below "publicKey" or a member named after the options' type, standard Base64, optional
/// members that are absent, null or empty. Members of an unknown kind or value count as absent.
struct CreationOptions {
  /// `clientDataJSON` is still to be filled in; `rpId` is empty where the server tells none.
  MakeCredential request;
  /// Bytes.
  std::string challenge;
  /// "platform", "cross-platform" or empty.
  std::string attachment;
  /// Whether the server wants to know if the credential can be found without its id.
  bool wantsCredentialProperties = false;
};

struct RequestOptions {
  GetAssertion request;
  std::string challenge;
  /// The server named credentials, but none of a kind that is known.
  bool allowsNoneKnown = false;
};

PasskeyResult<CreationOptions> readCreationOptions(const JSON& json);
PasskeyResult<RequestOptions> readRequestOptions(const JSON& json);

}  // namespace veltrane
