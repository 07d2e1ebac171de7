#include "apps/sandbox/passkeys/relying_party.h"

#include <openssl/rand.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "apps/sandbox/passkeys/assertion_check.h"
#include "apps/sandbox/passkeys/base64url.h"
#include "apps/sandbox/passkeys/options_names.h"
#include "apps/sandbox/passkeys/registration_check.h"
#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;
using passkeys::kCreationOptions;
using passkeys::kRequestOptions;

constexpr std::size_t kRemembered = 10'000;
constexpr std::size_t kLongestName = 64;
constexpr std::int64_t kUsualTimeout = 300'000;
constexpr std::int64_t kLongestTimeout = 3'600'000;
constexpr const char* kCreate = "webauthn.create";
constexpr const char* kGet = "webauthn.get";

std::string randomBytes() {
  std::string bytes(32, '\0');
  auto* const data = reinterpret_cast<unsigned char*>(bytes.data());
  if (RAND_bytes(data, static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random numbers");
  }
  return bytes;
}

/// The author's own members over the usual ones.
json merged(json usual, const json& answer, const char* name) {
  if (answer.contains(name)) usual.merge_patch(answer[name]);
  return usual;
}

std::int64_t timeoutOf(const json& options) {
  const auto timeout = options.find("timeout");
  const bool isTold = timeout != options.end() && timeout->is_number_integer();
  return isTold ? std::clamp<std::int64_t>(*timeout, 1, kLongestTimeout) : kUsualTimeout;
}

std::vector<int> algorithmsOf(const json& options) {
  std::vector<int> algorithms;
  for (const json& entry : options["pubKeyCredParams"]) {
    const json algorithm = entry.is_object() ? entry.value("alg", json()) : json();
    if (algorithm.is_number_integer()) algorithms.push_back(algorithm.get<int>());
  }
  return algorithms;
}

std::vector<std::string> transportsOf(const json& response) {
  std::vector<std::string> transports;
  for (const json& entry : response["response"].value("transports", json::array())) {
    if (entry.is_string()) transports.push_back(entry.get<std::string>());
  }
  return transports;
}

json parameter(int algorithm) {
  return {{"type", "public-key"}, {"alg", algorithm}};
}

Refusal wrongUser() {
  return {"wrongUser", "The passkey is not one of the user who was asked for."};
}

}  // namespace

bool RelyingParty::knows(const std::string& rpId, const std::string& userName) const {
  const std::lock_guard lock(mutex_);
  return std::any_of(passkeys_.begin(), passkeys_.end(), [&](const auto& entry) {
    return entry.second.rpId == rpId && entry.second.userName == userName;
  });
}

std::string RelyingParty::userIdOf(const Ceremony& ceremony) const {
  for (const auto& [id, passkey] : passkeys_) {
    const bool isTheirs =
        passkey.rpId == ceremony.party.id && passkey.userName == ceremony.userName;
    if (isTheirs) return passkey.userId;
  }
  return randomBytes();
}

json RelyingParty::descriptorsOf(const Ceremony& ceremony) const {
  json descriptors = json::array();
  for (const auto& [id, passkey] : passkeys_) {
    if (passkey.rpId != ceremony.party.id || passkey.userName != ceremony.userName) continue;
    descriptors.push_back(
        {{"type", "public-key"}, {"id", base64urlEncoded(id)}, {"transports", passkey.transports}});
  }
  return descriptors;
}

void RelyingParty::addCreationOptions(const Ceremony& ceremony, json& answer) {
  const std::string& name = ceremony.userName;
  if (name.empty()) throw Refusal("badUserName", "The body's \"parameters.username\" is missing.");
  if (name.size() > kLongestName) throw Refusal("badUserName", "The user name is too long.");
  const std::lock_guard lock(mutex_);
  Open opened{.type = kCreate,
              .ceremony = ceremony,
              .challenge = base64urlEncoded(randomBytes()),
              .userId = userIdOf(ceremony),
              .algorithms = {},
              .until = {}};
  json options = merged({{"attestation", "none"},
                         {"authenticatorSelection",
                          {{"residentKey", "preferred"}, {"userVerification", "preferred"}}},
                         {"excludeCredentials", descriptorsOf(ceremony)},
                         {"pubKeyCredParams", {parameter(-7), parameter(-8), parameter(-257)}},
                         {"timeout", kUsualTimeout}},
                        answer, kCreationOptions);
  options["challenge"] = opened.challenge;
  options["rp"] = {{"id", ceremony.party.id}, {"name", ceremony.party.name}};
  options["user"] = {
      {"id", base64urlEncoded(opened.userId)}, {"name", name}, {"displayName", name}};
  opened.algorithms = algorithmsOf(options);
  answer["challenge"] = opened.challenge;
  open(std::move(opened), options, options["authenticatorSelection"]);
  answer[kCreationOptions] = std::move(options);
}

void RelyingParty::addRequestOptions(const Ceremony& ceremony, json& answer) {
  const std::lock_guard lock(mutex_);
  json allowed = ceremony.userName.empty() ? json::array() : descriptorsOf(ceremony);
  if (allowed.empty() && !ceremony.userName.empty()) {
    throw Refusal("unknownUser", "No passkey of \"" + ceremony.userName + "\" is known.");
  }
  Open opened{.type = kGet,
              .ceremony = ceremony,
              .challenge = base64urlEncoded(randomBytes()),
              .userId = {},
              .algorithms = {},
              .until = {}};
  json options = merged({{"allowCredentials", std::move(allowed)},
                         {"userVerification", "preferred"},
                         {"timeout", kUsualTimeout}},
                        answer, kRequestOptions);
  options["challenge"] = opened.challenge;
  options["rpId"] = ceremony.party.id;
  open(std::move(opened), options, options);
  answer[kRequestOptions] = std::move(options);
}

/// `verification`: what of the options holds "userVerification".
void RelyingParty::open(Open opened, const json& options, const json& verification) {
  opened.until = now_() + std::chrono::milliseconds(timeoutOf(options));
  opened.needsVerification =
      verification.is_object() && verification.value("userVerification", json()) == "required";
  const std::string id = opened.ceremony.interactionId;
  if (open_.insert_or_assign(id, std::move(opened)).second) order_.push_back(id);
  if (order_.size() > kRemembered) {
    open_.erase(order_.front());
    order_.pop_front();
  }
}

RelyingParty::Open RelyingParty::take(const std::string& interactionId, const char* type) {
  const auto entry = open_.find(interactionId);
  if (entry == open_.end() || entry->second.type != type) {
    throw Refusal("wrongChallenge",
                  "This interaction has no open challenge of this kind: each is for one answer.");
  }
  Open opened = std::move(entry->second);
  open_.erase(entry);
  std::erase(order_, interactionId);
  if (now_() >= opened.until) throw Refusal("lateResponse", "The challenge has expired.");
  return opened;
}

void RelyingParty::checkRegistration(const std::string& interactionId, const json& response) {
  const std::lock_guard lock(mutex_);
  const Open opened = take(interactionId, kCreate);
  Registration made = checkedRegistration(response,
                                          {.type = opened.type,
                                           .challenge = opened.challenge,
                                           .origins = opened.ceremony.party.origins,
                                           .rpId = opened.ceremony.party.id,
                                           .needsVerification = opened.needsVerification},
                                          opened.algorithms);
  if (passkeys_.contains(made.id)) {
    throw Refusal("knownCredential", "This credential has been registered before.");
  }
  if (passkeys_.size() >= kRemembered) throw Refusal("full", "There are too many passkeys.", 507);
  passkeys_.emplace(made.id, Passkey{.rpId = opened.ceremony.party.id,
                                     .userName = opened.ceremony.userName,
                                     .userId = opened.userId,
                                     .key = std::move(made.key),
                                     .counter = made.counter,
                                     .transports = transportsOf(response)});
}

void RelyingParty::checkAssertion(const std::string& interactionId, const json& response) {
  const std::lock_guard lock(mutex_);
  const Open opened = take(interactionId, kGet);
  const auto entry = passkeys_.find(credentialId(response));
  if (entry == passkeys_.end()) {
    throw Refusal("unknownCredential", "No passkey of this id has been registered.");
  }
  Passkey& passkey = entry->second;
  const Ceremony& asked = opened.ceremony;
  if (passkey.rpId != asked.party.id) throw wrongUser();
  if (!asked.userName.empty() && passkey.userName != asked.userName) throw wrongUser();
  const bool tellsUser = response.contains("/response/userHandle"_json_pointer) &&
                         !response["response"]["userHandle"].is_null();
  // Without a name that was asked for, the handle alone says who it is.
  if (tellsUser || asked.userName.empty()) {
    if (responseBytes(response, "userHandle") != passkey.userId) throw wrongUser();
  }
  const std::uint32_t counter = checkedAssertion(response,
                                                 {.type = opened.type,
                                                  .challenge = opened.challenge,
                                                  .origins = asked.party.origins,
                                                  .rpId = asked.party.id,
                                                  .needsVerification = opened.needsVerification},
                                                 passkey.key);
  if ((counter != 0 || passkey.counter != 0) && counter <= passkey.counter) {
    throw Refusal("wrongCounter", "The signature counter has not grown from " +
                                      std::to_string(passkey.counter) +
                                      ": the passkey may have been copied.");
  }
  passkey.counter = counter;
}

}  // namespace veltrane::sandbox
