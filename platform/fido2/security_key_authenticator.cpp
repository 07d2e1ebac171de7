#include "platform/fido2/security_key_authenticator.h"

#include <fido.h>

#include <algorithm>
#include <utility>
#include <variant>

#include "platform/fido2/conversation.h"
#include "platform/fido2/key_failure.h"
#include "platform/fido2/key_finder.h"
#include "platform/fido2/key_requests.h"
#include "platform/fido2/key_thread.h"
#include "veltrane/passkeys/display_text.h"
#include "veltrane/platform.h"

namespace veltrane::fido2 {
namespace {

using Clock = KeyConnection::Clock;

/// Whether what talks with keys is installed.
bool hasLibraries() {
#ifdef VELTRANE_LATE_fido2
  static const bool all =
      veltrane_late_load_cbor() && veltrane_late_load_crypto() && veltrane_late_load_fido2();
  return all;
#else
  return true;
#endif
}

Clock::time_point deadlineOf(std::chrono::milliseconds timeout) {
  return timeout.count() > 0 ? Clock::now() + timeout : Clock::time_point::max();
}

/// Follows the advice on a failure. False: the request is over.
bool goOn(Conversation& talk, KeyFinder& finder, const Occasion& occasion, const KeyConnection& key,
          const PasskeyError& error) {
  const Advice advice = adviceOn(occasion, error, key.isGone());
  if (advice.next == Advice::Next::reinsert) {
    finder.setAside(key.path(), advice.notice.problem, error);
    return true;
  }
  if (!talk.ask(advice.notice, error)) return false;
  if (advice.next == Advice::Next::otherKey) {
    finder.setAside(key.path(), "Take that key out and insert another.", error);
  }
  return true;
}

/// With one key after another, until one has done it or the person leaves.
template <typename Value, typename Request>
Outcome carryOut(KeySource& source, Conversation& talk, const Occasion& occasion, Patience patience,
                 Clock::time_point deadline, const Request& request,
                 std::variant<int, Value> (*attempt)(KeyConnection&, Conversation&, const Occasion&,
                                                     const Request&)) {
  KeyFinder finder(source, talk, occasion, deadline, patience);
  while (const auto key = finder.find()) {
    auto result = attempt(*key, talk, occasion, request);
    if (auto* value = std::get_if<Value>(&result)) return std::move(*value);
    if (talk.halt().requested() || Clock::now() >= deadline) break;
    if (!goOn(talk, finder, occasion, *key, keyFailure(std::get<int>(result)))) break;
  }
  return PasskeyError{talk.halt().requested() ? PasskeyFailure::cancelled
                                              : PasskeyFailure::timedOut};
}

template <typename Value>
Conversation::Answer answering(std::function<void(PasskeyResult<Value>)> callback) {
  return [callback = std::move(callback)](Outcome outcome) {
    if (auto* value = std::get_if<Value>(&outcome)) return callback(std::move(*value));
    callback(std::get<PasskeyError>(std::move(outcome)));
  };
}

/// Dropping it ends the request without an answer.
std::shared_ptr<void> handleOf(std::shared_ptr<Conversation> talk) {
  return {talk.get(), [talk](void*) { talk->drop(); }};
}

}  // namespace

SecurityKeyAuthenticator::SecurityKeyAuthenticator(std::shared_ptr<KeySource> source,
                                                   Patience patience)
    : source_(std::move(source)), patience_(patience) {}

SecurityKeyAuthenticator::~SecurityKeyAuthenticator() = default;

std::optional<bool> SecurityKeyAuthenticator::holds(
    const std::string& /*rpId*/, const std::vector<std::string>& /*allowed*/) const {
  return hasLibraries() ? std::nullopt : std::optional(false);
}

bool SecurityKeyAuthenticator::canMake(const MakeCredential& request) const {
  return hasLibraries() && std::ranges::any_of(request.algorithms, [](int algorithm) {
           return algorithm == COSE_ES256 || algorithm == COSE_EDDSA || algorithm == COSE_ES384 ||
                  algorithm == COSE_RS256;
         });
}

std::shared_ptr<void> SecurityKeyAuthenticator::make(MakeCredential request,
                                                     std::shared_ptr<PasskeySheet> sheet,
                                                     Made made) {
  auto talk = std::make_shared<Conversation>(Platform::current().mainQueue, std::move(sheet),
                                             answering<MadeCredential>(std::move(made)));
  Occasion occasion{.isMaking = true,
                    .relyingParty = relyingPartyText(request.rpId),
                    .account = accountText(request.userName, request.userDisplayName)};
  thread().add(talk, [source = source_, patience = patience_, occasion = std::move(occasion),
                      deadline = deadlineOf(request.timeout),
                      request = std::move(request)](Conversation& with) {
    return carryOut(*source, with, occasion, patience, deadline, request, makeOn);
  });
  return handleOf(std::move(talk));
}

std::shared_ptr<void> SecurityKeyAuthenticator::get(GetAssertion request,
                                                    std::shared_ptr<PasskeySheet> sheet, Got got) {
  auto talk = std::make_shared<Conversation>(Platform::current().mainQueue, std::move(sheet),
                                             answering<Assertion>(std::move(got)));
  Occasion occasion{.relyingParty = relyingPartyText(request.rpId)};
  thread().add(talk, [source = source_, patience = patience_, occasion = std::move(occasion),
                      deadline = deadlineOf(request.timeout),
                      request = std::move(request)](Conversation& with) {
    return carryOut(*source, with, occasion, patience, deadline, request, getFrom);
  });
  return handleOf(std::move(talk));
}

KeyThread& SecurityKeyAuthenticator::thread() {
  if (!thread_) thread_ = std::make_unique<KeyThread>();
  return *thread_;
}

}  // namespace veltrane::fido2
