#include "platform/authenticator/pin.h"

#include <utility>

#include "platform/authenticator/conversation.h"
#include "veltrane/base/text.h"

namespace veltrane::authenticator {
namespace {

constexpr const char* kTooShort = "Use at least 4 characters.";

/// Whoever finds fewer tries than all learns that somebody has guessed.
std::string problemOf(bool wasWrong, int triesLeft) {
  if (triesLeft == CredentialStore::kTries) return {};
  const std::string left =
      std::to_string(triesLeft) + (triesLeft == 1 ? " try left." : " tries left.");
  return wasWrong ? "Wrong PIN. " + left : left;
}

PasskeyError stretchingFailed() {
  return {.cause = "The PIN cannot be checked: not enough memory, or damaged settings."};
}

}  // namespace

PasskeyError lockedError() {
  return {.failure = PasskeyFailure::locked, .cause = "too many wrong PINs"};
}

PasskeyResult<Pin::State> Pin::state() {
  auto stored = store_.lock(LockKind::pin);
  if (auto* error = std::get_if<PasskeyError>(&stored)) return std::move(*error);
  const auto& lock = std::get<std::optional<Lock>>(stored);
  if (!lock) return State::unset;
  return lock->triesLeft > 0 ? State::set : State::locked;
}

std::optional<PasskeyError> Pin::verify(Conversation& conversation) {
  Progress progress;
  while (!progress.isVerified) {
    auto stored = store_.lock(LockKind::pin);
    if (auto* error = std::get_if<PasskeyError>(&stored)) return std::move(*error);
    const auto& lock = std::get<std::optional<Lock>>(stored);
    if (lock && lock->triesLeft == 0) return lockedError();
    auto next = lock ? enter(*lock, progress.wasRefused, conversation)
                     : choose(progress.wasRefused, conversation);
    if (auto* error = std::get_if<PasskeyError>(&next)) return std::move(*error);
    progress = std::get<Progress>(next);
  }
  return std::nullopt;
}

PasskeyResult<Pin::Progress> Pin::choose(bool again, Conversation& conversation) {
  auto answer = conversation.ask(
      {.step = PasskeyStep::newPIN,
       .title = "Choose a PIN",
       .message = "One PIN for all passkeys of this device: it is asked for before one is used. "
                  "Eight wrong ones in a row lock them until a reset, which deletes them.",
       .confirmTitle = "Continue",
       .problem = again ? kTooShort : "",
       .minimumLength = kShortest});
  if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
  const Secret& pin = std::get<PasskeyAnswer>(answer).secret;
  if (codePointCount(pin.bytes()) < kShortest) {
    return Progress{.wasRefused = true};
  }
  auto made = makeLock(pin, cost_);
  if (!made) return stretchingFailed();
  auto added = store_.addLock(LockKind::pin, made->lock);
  if (auto* error = std::get_if<PasskeyError>(&added)) return std::move(*error);
  // Another process may have been quicker; then that PIN is asked for.
  return Progress{.isVerified = std::get<bool>(added)};
}

PasskeyResult<Pin::Progress> Pin::enter(const Lock& lock, bool again, Conversation& conversation) {
  auto answer =
      conversation.ask({.step = PasskeyStep::enterPIN,
                        .title = "Enter your PIN",
                        .message = "It is the one that you chose for the passkeys of this device.",
                        .confirmTitle = "Continue",
                        .problem = problemOf(again, lock.triesLeft)});
  if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
  return check(lock, std::get<PasskeyAnswer>(answer).secret);
}

PasskeyResult<Pin::Progress> Pin::check(const Lock& lock, const Secret& pin) {
  auto spent = store_.spendTry(LockKind::pin);
  if (auto* error = std::get_if<PasskeyError>(&spent)) return std::move(*error);
  if (!std::get<bool>(spent)) return Progress{};
  const auto opening = openLock(lock, pin);
  if (!opening) return stretchingFailed();
  if (!opening->isRight) return Progress{.wasRefused = true};
  auto restored = store_.restoreTries(LockKind::pin, lock);
  if (auto* error = std::get_if<PasskeyError>(&restored)) return std::move(*error);
  // False: the PIN has been reset meanwhile, and this one opens nothing any more.
  return Progress{.isVerified = std::get<bool>(restored)};
}

}  // namespace veltrane::authenticator
