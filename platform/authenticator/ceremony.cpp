#include "platform/authenticator/ceremony.h"

#include <algorithm>
#include <set>
#include <utility>

#include "platform/authenticator/conversation.h"
#include "veltrane/base/console.h"
#include "veltrane/passkeys/display_text.h"

namespace veltrane::authenticator {
namespace {

/// A person picks an account, not a credential: of each, the newest stays.
void keepNewestOfEachAccount(std::vector<Credential>& credentials) {
  std::ranges::stable_sort(credentials, std::ranges::greater{}, &Credential::created);
  std::set<std::string> seen;
  std::erase_if(credentials, [&](const Credential& credential) {
    return !seen.insert(credential.userId).second;
  });
}

std::string accountOf(const Credential& credential) {
  return accountText(credential.userName, credential.userDisplayName);
}

PasskeyQuestion signInQuestion(const std::vector<Credential>& credentials) {
  PasskeyQuestion question{.title = "Sign in with a passkey?",
                           .relyingParty = relyingPartyText(credentials.front().rpId)};
  if (credentials.size() == 1) {
    question.step = PasskeyStep::consent;
    question.message = "It is kept on this device.";
    question.account = accountOf(credentials.front());
    question.confirmTitle = "Sign in";
  } else {
    question.step = PasskeyStep::account;
    question.message = "Choose the account to sign in with.";
    for (const auto& credential : credentials) question.choices.push_back(accountOf(credential));
  }
  return question;
}

void report(const char* what, const PasskeyResult<Done>& result) {
  if (const auto* error = std::get_if<PasskeyError>(&result)) {
    console::print(what + error->cause);
  }
}

}  // namespace

std::optional<PasskeyError> Ceremony::refusal() {
  auto state = state_.pin.state();
  if (auto* error = std::get_if<PasskeyError>(&state)) return std::move(*error);
  if (std::get<Pin::State>(state) == Pin::State::locked) return lockedError();
  return std::nullopt;
}

PasskeyResult<Creation> Ceremony::make(const MakeCredential& request) {
  if (auto error = refusal()) return std::move(*error);
  auto answer = consent(request);
  if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
  // Told after consent alone: otherwise any site could ask who has an account.
  auto excluded = holdsOne(request.rpId, request.excluded);
  if (auto* error = std::get_if<PasskeyError>(&excluded)) return std::move(*error);
  if (std::get<bool>(excluded)) return PasskeyError{.failure = PasskeyFailure::excluded};
  auto isVerified = verified(request.userVerification);
  if (auto* error = std::get_if<PasskeyError>(&isVerified)) return std::move(*error);

  auto choice = state_.keepers.forNewKey(request.algorithms, conversation_);
  if (auto* error = std::get_if<PasskeyError>(&choice)) return std::move(*error);
  const auto& [keeper, algorithm, storeId] = std::get<KeyKeepers::Choice>(choice);
  auto creation = create(*keeper, algorithm, request, std::get<bool>(isVerified));
  if (std::holds_alternative<PasskeyError>(creation)) {
    state_.keepers.drop(keeper);
    return creation;
  }
  auto added = state_.store.add(std::get<Creation>(creation).credential, storeId);
  if (auto* error = std::get_if<PasskeyError>(&added)) return std::move(*error);
  return creation;
}

PasskeyResult<PasskeyAnswer> Ceremony::consent(const MakeCredential& request) {
  const auto party = relyingPartyText(request.rpId);
  const auto account = accountText(request.userName, request.userDisplayName);
  conversation_.isAbout(party, account);
  return conversation_.ask({.step = PasskeyStep::consent,
                            .title = "Create a passkey?",
                            .message = "It is kept on this device.",
                            .relyingParty = party,
                            .account = account,
                            .confirmTitle = "Create"});
}

PasskeyResult<bool> Ceremony::holdsOne(const std::string& rpId,
                                       const std::vector<std::string>& ids) {
  if (ids.empty()) return false;
  auto found = state_.store.find(rpId, ids);
  if (auto* error = std::get_if<PasskeyError>(&found)) return std::move(*error);
  return !std::get<std::vector<Credential>>(found).empty();
}

/// Where it is preferred, a person who has chosen no PIN is not made to.
PasskeyResult<bool> Ceremony::verified(Requirement requirement) {
  if (requirement == Requirement::discouraged) return false;
  if (requirement == Requirement::preferred) {
    auto state = state_.pin.state();
    if (auto* error = std::get_if<PasskeyError>(&state)) return std::move(*error);
    if (std::get<Pin::State>(state) == Pin::State::unset) return false;
  }
  if (auto error = state_.pin.verify(conversation_)) return std::move(*error);
  return true;
}

PasskeyResult<Assertion> Ceremony::get(const GetAssertion& request) {
  if (auto error = refusal()) return std::move(*error);
  auto credential = choose(request);
  if (auto* error = std::get_if<PasskeyError>(&credential)) return std::move(*error);
  auto isVerified = verified(request.userVerification);
  if (auto* error = std::get_if<PasskeyError>(&isVerified)) return std::move(*error);
  return sign(std::get<Credential>(credential), request, std::get<bool>(isVerified));
}

PasskeyResult<Credential> Ceremony::choose(const GetAssertion& request) {
  auto found = state_.store.find(request.rpId, request.allowed);
  if (auto* error = std::get_if<PasskeyError>(&found)) return std::move(*error);
  auto& credentials = std::get<std::vector<Credential>>(found);
  if (credentials.empty()) return PasskeyError{.failure = PasskeyFailure::noneFound};
  keepNewestOfEachAccount(credentials);
  auto answer = conversation_.ask(signInQuestion(credentials));
  if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
  auto& chosen = credentials.at(std::get<PasskeyAnswer>(answer).choice);
  conversation_.isAbout(relyingPartyText(chosen.rpId), accountOf(chosen));
  return std::move(chosen);
}

PasskeyResult<Assertion> Ceremony::sign(const Credential& credential, const GetAssertion& request,
                                        bool isVerified) {
  auto named = state_.keepers.named(credential.keeper, conversation_);
  if (auto* error = std::get_if<PasskeyError>(&named)) return std::move(*error);
  auto counted = state_.store.countUp(credential.id);
  if (auto* error = std::get_if<PasskeyError>(&counted)) return std::move(*error);
  const auto counter = std::get<std::optional<std::uint32_t>>(counted);
  if (!counter) return PasskeyError{.failure = PasskeyFailure::noneFound};
  KeyKeeper* const keeper = std::get<KeyKeeper*>(named);
  auto assertion = assertWith(*keeper, credential, *counter, request, isVerified);
  if (std::holds_alternative<PasskeyError>(assertion)) {
    state_.keepers.drop(keeper);
  } else {
    renew(*keeper, credential);
  }
  return assertion;
}

/// A key that a former version sealed works as it is: it is sealed anew when it has been used.
void Ceremony::renew(KeyKeeper& keeper, const Credential& credential) {
  report("A key stays sealed as it was: ", [&]() -> PasskeyResult<Done> {
    auto sealed = keeper.renewed(credential.algorithm, credential.sealed, credential.context());
    if (auto* error = std::get_if<PasskeyError>(&sealed)) return std::move(*error);
    const auto& bytes = std::get<std::string>(sealed);
    return bytes == credential.sealed ? Done{} : state_.store.reseal(credential, bytes);
  }());
}

void Ceremony::settle(const Credential& made) {
  if (!made.isDiscoverable) return;
  report("A former passkey of the account stays: ", state_.store.removeFormer(made));
}

void Ceremony::undo(const Credential& made) {
  report("A passkey that nobody waited for stays: ", [&]() -> PasskeyResult<Done> {
    auto removed = state_.store.remove(made.id);
    if (auto* error = std::get_if<PasskeyError>(&removed)) return std::move(*error);
    return Done{};
  }());
}

}  // namespace veltrane::authenticator
