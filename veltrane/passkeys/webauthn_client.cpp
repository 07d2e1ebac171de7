#include "veltrane/passkeys/webauthn_client.h"

#include <chrono>
#include <utility>
#include <variant>

#include "veltrane/base/dictionary.h"
#include "veltrane/passkeys/client_data.h"
#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/passkeys/webauthn_options.h"
#include "veltrane/passkeys/webauthn_responses.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {
namespace {

using Outcome = std::function<void(PasskeyResult<JSON>)>;

PasskeyError failure(PasskeyFailure kind, std::string cause = {}) {
  return {.failure = kind, .cause = std::move(cause)};
}

/// What goes back to the flow for an authenticator's answer.
template <typename Value, typename Write>
std::function<void(PasskeyResult<Value>)> written(Outcome outcome, Write write) {
  return [outcome = std::move(outcome), write = std::move(write)](PasskeyResult<Value> result) {
    if (auto* error = std::get_if<PasskeyError>(&result)) return outcome(std::move(*error));
    outcome(write(std::get<Value>(result)));
  };
}

std::string offerOf(const Authenticator& authenticator) {
  return authenticator.attachment() == "platform" ? "Use this device" : "Use a security key";
}

using Candidates = std::vector<std::shared_ptr<Authenticator>>;

Candidates makersOf(Candidates all, const CreationOptions& options) {
  std::erase_if(all, [&](const auto& one) {
    return (!options.attachment.empty() && one->attachment() != options.attachment) ||
           !one->canMake(options.request);
  });
  return all;
}

/// Those that hold a credential before those that cannot tell.
Candidates holdersOf(const Candidates& all, const GetAssertion& request) {
  Candidates holders;
  Candidates unsure;
  for (const auto& one : all) {
    const auto holds = one->holds(request.rpId, request.allowed);
    if (holds.value_or(true)) (holds ? holders : unsure).push_back(one);
  }
  holders.insert(holders.end(), unsure.begin(), unsure.end());
  return holders;
}

}  // namespace

/// One request on its way: what was asked, who may answer, and the one answer.
struct WebAuthnClient::Request : std::enable_shared_from_this<Request> {
  using Start = std::function<std::shared_ptr<void>(Authenticator&,
                                                    const std::shared_ptr<PasskeySheet>&, Outcome)>;

  Callback callback;
  std::shared_ptr<PasskeySheet> sheet = std::make_shared<PasskeySheet>();
  Candidates candidates;
  Start startOne;
  std::shared_ptr<void> attempt;
  std::size_t attempts = 0;

  ~Request() {
    attempt.reset();
    sheet->close();
  }

  bool isRunning() const { return callback != nullptr; }

  void startWith(std::size_t index, bool isChosen) {
    attempt.reset();
    const auto number = ++attempts;
    offerTheNext(index);
    auto handle =
        startOne(*candidates[index], sheet,
                 [weak = weak_from_this(), number, index, isChosen](PasskeyResult<JSON> result) {
                   const auto self = weak.lock();
                   if (!self || self->attempts != number) return;
                   if (!isChosen && self->isForAnother(result)) return self->pass(index);
                   self->finish(std::move(result));
                 });
    if (isRunning() && attempts == number) attempt = std::move(handle);
  }

  void offerTheNext(std::size_t index) {
    if (candidates.size() < 2) return sheet->offer({}, nullptr);
    const auto next = (index + 1) % candidates.size();
    sheet->offer(offerOf(*candidates[next]), [weak = weak_from_this(), next] {
      if (const auto self = weak.lock()) self->startWith(next, true);
    });
  }

  /// One that could not tell may turn out to hold none.
  bool isForAnother(const PasskeyResult<JSON>& result) const {
    const auto* error = std::get_if<PasskeyError>(&result);
    return error && error->failure == PasskeyFailure::noneFound && candidates.size() > 1;
  }

  void pass(std::size_t index) {
    candidates.erase(candidates.begin() + static_cast<std::ptrdiff_t>(index));
    startWith(index % candidates.size(), false);
  }

  void finish(PasskeyResult<JSON> result) {
    const auto answer = std::exchange(callback, nullptr);
    if (!answer) return;
    attempt.reset();
    sheet->close();
    if (const auto* error = std::get_if<PasskeyError>(&result)) {
      answer(std::nullopt, toFlowError(*error));
    } else {
      answer(std::get<JSON>(std::move(result)), std::nullopt);
    }
  }

  void finishLater(PasskeyResult<JSON> result,
                   std::chrono::milliseconds delay = std::chrono::milliseconds(0)) {
    MainQueue::current().asyncAfter(delay, [weak = weak_from_this(), result = std::move(result)] {
      if (const auto self = weak.lock()) self->finish(result);
    });
  }

  void start(PasskeyPresenter* presenter, std::chrono::milliseconds timeout) {
    finishLater(failure(PasskeyFailure::timedOut), timeout);
    sheet->work([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->finishLater(failure(PasskeyFailure::cancelled));
    });
    if (presenter) presenter->present(sheet);
    startWith(0, false);
  }
};

WebAuthnClient::WebAuthnClient(Parts parts) : parts_(std::move(parts)) {}

WebAuthnClient::~WebAuthnClient() = default;

std::shared_ptr<WebAuthnClient::Request> WebAuthnClient::begin(Callback callback) {
  if (running_ && running_->isRunning()) {
    MainQueue::current().async([callback = std::move(callback)] {
      callback(std::nullopt, toFlowError(failure(PasskeyFailure::failed,
                                                 "a passkey request is running already")));
    });
    return nullptr;
  }
  running_ = std::make_shared<Request>();
  running_->callback = std::move(callback);
  return running_;
}

std::optional<PasskeyError> WebAuthnClient::agree(const Caller& caller, std::string& rpId) const {
  const auto cause = relyingPartyMismatch(caller.rpId, caller.origin, *parts_.suffixes);
  if (cause) return failure(PasskeyFailure::rpIdMismatch, *cause);
  const std::string own = canonicalRPId(caller.rpId);
  if (!rpId.empty() && canonicalRPId(rpId) != own) {
    return failure(PasskeyFailure::rpIdMismatch,
                   "The server asks for \"" + rpId + "\", the host for \"" + own + "\".");
  }
  rpId = own;
  return std::nullopt;
}

void WebAuthnClient::credentialsCreate(const std::string& rpId, const std::string& origin,
                                       int /*modality*/, const JSON& json, Callback callback) {
  const auto request = begin(std::move(callback));
  if (!request) return;
  auto read = readCreationOptions(json);
  if (const auto* error = std::get_if<PasskeyError>(&read)) return request->finishLater(*error);
  auto& options = std::get<CreationOptions>(read);
  if (const auto error = agree({rpId, origin}, options.request.rpId)) {
    return request->finishLater(*error);
  }
  if (options.request.rpName.empty()) options.request.rpName = options.request.rpId;
  options.request.clientDataJSON =
      serializedClientData("webauthn.create", options.challenge, *serializedOrigin(origin));
  request->candidates = makersOf(parts_.authenticators(), options);
  if (request->candidates.empty()) {
    return request->finishLater(failure(PasskeyFailure::notSupported));
  }
  const auto timeout = options.request.timeout;
  request->startOne = [options](Authenticator& authenticator, const auto& sheet, Outcome outcome) {
    const auto write = [options, attachment = authenticator.attachment()](const auto& made) {
      return JSON(Dictionary{{"createCredResponse",
                              registrationResponse(made, options.request.clientDataJSON, attachment,
                                                   options.wantsCredentialProperties)}});
    };
    return authenticator.make(options.request, sheet,
                              written<MadeCredential>(std::move(outcome), write));
  };
  request->start(parts_.presenter.get(), timeout);
}

void WebAuthnClient::credentialsGet(const std::string& rpId, const std::string& origin,
                                    const JSON& json, Callback callback) {
  const auto request = begin(std::move(callback));
  if (!request) return;
  auto read = readRequestOptions(json);
  if (const auto* error = std::get_if<PasskeyError>(&read)) return request->finishLater(*error);
  auto& options = std::get<RequestOptions>(read);
  if (const auto error = agree({rpId, origin}, options.request.rpId)) {
    return request->finishLater(*error);
  }
  options.request.clientDataJSON =
      serializedClientData("webauthn.get", options.challenge, *serializedOrigin(origin));
  if (!options.allowsNoneKnown) {
    request->candidates = holdersOf(parts_.authenticators(), options.request);
  }
  if (request->candidates.empty()) {
    return request->finishLater(failure(PasskeyFailure::noneFound));
  }
  const auto timeout = options.request.timeout;
  request->startOne = [asked = options.request](Authenticator& authenticator, const auto& sheet,
                                                Outcome outcome) {
    const auto write = [asked, attachment = authenticator.attachment()](const auto& assertion) {
      return authenticationResponse(assertion, asked.clientDataJSON, attachment);
    };
    return authenticator.get(asked, sheet, written<Assertion>(std::move(outcome), write));
  };
  request->start(parts_.presenter.get(), timeout);
}

std::function<std::shared_ptr<CredentialsManager>()> makeWebAuthnClients(
    WebAuthnClient::Parts parts) {
  const auto made = std::make_shared<Candidates>();
  parts.authenticators = [made, make = std::move(parts.authenticators)] {
    if (made->empty()) *made = make();
    return *made;
  };
  return [parts] { return std::make_shared<WebAuthnClient>(parts); };
}

}  // namespace veltrane
