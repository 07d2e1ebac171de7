#include "veltrane/passkeys/webauthn_options.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "veltrane/base/base64.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kPublicKey = "public-key";
constexpr int kRS256 = -257;
constexpr std::size_t kMaxUserId = 64;
/// Five minutes where the server names none; what it names is kept to what a person can meet and
/// bear.
constexpr milliseconds kUsualTimeout{300'000};
constexpr milliseconds kLeastTimeout{1'000};
constexpr milliseconds kMostTimeout{600'000};

PasskeyError unreadable(std::string_view what) {
  return {.failure = PasskeyFailure::invalidOptions, .cause = std::string(what)};
}

/// The first of the members that holds an object, else `json` itself.
JSON optionsBelow(const JSON& json, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (json[name].isObject()) return json[name];
  }
  return json;
}

std::optional<std::string> bytes(const JSON& json) {
  const auto text = json.text();
  return text && !text->empty() ? base64URLDecoded(*text) : std::nullopt;
}

/// Some servers keep the challenge beside the options.
std::optional<std::string> challengeOf(const JSON& options, const JSON& answer) {
  auto challenge = bytes(options["challenge"]);
  if (!challenge && options["challenge"].isNull()) challenge = bytes(answer["challenge"]);
  return challenge && !challenge->empty() ? challenge : std::nullopt;
}

milliseconds timeoutOf(const JSON& options) {
  const double given = options["timeout"].number().value_or(0);
  if (!(given > 0)) return kUsualTimeout;
  const double bounded = std::min(given, static_cast<double>(kMostTimeout.count()));
  return std::max(milliseconds(static_cast<std::int64_t>(bounded)), kLeastTimeout);
}

Requirement requirement(const JSON& json, Requirement otherwise) {
  const auto text = json.text();
  if (text == "required") return Requirement::required;
  if (text == "preferred") return Requirement::preferred;
  if (text == "discouraged") return Requirement::discouraged;
  return otherwise;
}

/// Entries of unknown types or without an id are skipped, as the standard asks.
std::vector<std::string> credentialIds(const JSON& list) {
  std::vector<std::string> ids;
  for (std::size_t i = 0; i < list.size() && list.isArray(); ++i) {
    const JSON entry = list[i];
    auto id = bytes(entry["id"]);
    if (id && !id->empty() && entry["type"].text().value_or(kPublicKey) == kPublicKey) {
      ids.push_back(std::move(*id));
    }
  }
  return ids;
}

std::vector<int> algorithmsOf(const JSON& list) {
  if (!list.isArray() || list.size() == 0) return {cose::kES256, kRS256};
  std::vector<int> algorithms;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const auto algorithm = list[i]["alg"].integer();
    if (list[i]["type"].text().value_or(kPublicKey) != kPublicKey || !algorithm) continue;
    if (std::in_range<int>(*algorithm)) algorithms.push_back(static_cast<int>(*algorithm));
  }
  return algorithms;
}

void readSelection(const JSON& selection, CreationOptions& options) {
  const auto attachment = selection["authenticatorAttachment"].text();
  if (attachment == "platform" || attachment == "cross-platform") options.attachment = *attachment;
  options.request.userVerification =
      requirement(selection["userVerification"], Requirement::preferred);
  const bool required = selection["requireResidentKey"].boolean().value_or(false);
  options.request.residentKey = requirement(
      selection["residentKey"], required ? Requirement::required : Requirement::discouraged);
}

/// False when the account cannot be read.
bool readUser(const JSON& user, MakeCredential& request) {
  auto id = bytes(user["id"]);
  if (!id || id->empty() || id->size() > kMaxUserId) return false;
  request.userId = std::move(*id);
  request.userName = user["name"].textValue();
  request.userDisplayName = user["displayName"].textValue();
  if (request.userName.empty()) request.userName = request.userDisplayName;
  return true;
}

}  // namespace

PasskeyResult<CreationOptions> readCreationOptions(const JSON& json) {
  const JSON options = optionsBelow(json, {"publicKeyCredentialCreationOptions", "publicKey"});
  const auto challenge = challengeOf(options, json);
  if (!challenge) return unreadable("challenge");
  CreationOptions read{.challenge = *challenge};
  MakeCredential& request = read.request;
  if (!readUser(options["user"], request)) return unreadable("user.id");
  request.rpId = options["rp"]["id"].textValue();
  request.rpName = options["rp"]["name"].textValue();
  request.algorithms = algorithmsOf(options["pubKeyCredParams"]);
  if (request.algorithms.empty()) {
    return PasskeyError{.failure = PasskeyFailure::notSupported, .cause = "pubKeyCredParams"};
  }
  request.excluded = credentialIds(options["excludeCredentials"]);
  request.timeout = timeoutOf(options);
  const auto attestation = options["attestation"].text();
  request.wantsAttestation =
      attestation == "direct" || attestation == "indirect" || attestation == "enterprise";
  readSelection(options["authenticatorSelection"], read);
  read.wantsCredentialProperties = options["extensions"]["credProps"].boolean().value_or(false);
  return read;
}

PasskeyResult<RequestOptions> readRequestOptions(const JSON& json) {
  const JSON options = optionsBelow(json, {"publicKeyCredentialRequestOptions", "publicKey"});
  const auto challenge = challengeOf(options, json);
  if (!challenge) return unreadable("challenge");
  RequestOptions read{.challenge = *challenge};
  read.request.rpId = options["rpId"].textValue();
  read.request.allowed = credentialIds(options["allowCredentials"]);
  read.request.userVerification = requirement(options["userVerification"], Requirement::preferred);
  read.request.timeout = timeoutOf(options);
  read.allowsNoneKnown = options["allowCredentials"].isArray() &&
                         options["allowCredentials"].size() > 0 && read.request.allowed.empty();
  return read;
}

}  // namespace veltrane
