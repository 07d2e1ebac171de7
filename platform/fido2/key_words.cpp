#include "platform/fido2/key_words.h"

#include <fido.h>

#include <utility>

namespace veltrane::fido2 {
namespace {

constexpr const char* kTryAgain = "Try again";
constexpr const char* kOtherKey = "Use another key";
constexpr std::size_t kLeastPIN = 4;

PasskeyQuestion question(const Occasion& occasion, PasskeyStep step, std::string title,
                         std::string message) {
  return {.step = step,
          .title = std::move(title),
          .message = std::move(message),
          .relyingParty = occasion.relyingParty,
          .account = occasion.account};
}

Advice notice(const Occasion& occasion, Advice::Next next, std::string title, std::string message) {
  Advice advice{
      .next = next,
      .notice = question(occasion, PasskeyStep::notice, std::move(title), std::move(message))};
  advice.notice.confirmTitle = next == Advice::Next::sameKey ? kTryAgain : kOtherKey;
  return advice;
}

Advice outAndIn(std::string problem) {
  return {.next = Advice::Next::reinsert, .notice = {.problem = std::move(problem)}};
}

Advice onLocked(const Occasion& occasion, const PasskeyError& error) {
  if (error.causeCode == FIDO_ERR_PIN_AUTH_BLOCKED) {
    return outAndIn(
        "The PIN was wrong several times in a row. Take the security key out and insert it again "
        "for more tries.");
  }
  if (error.causeCode == FIDO_ERR_UV_BLOCKED) {
    return notice(occasion, Advice::Next::otherKey, "Security key locked",
                  "The security key does not take your fingerprint any more. Unlock it with its "
                  "maker's tool, or use another key.");
  }
  return notice(occasion, Advice::Next::otherKey, "Security key locked",
                "The PIN was wrong too many times. The security key has to be reset, which deletes "
                "all passkeys on it. You can use another key.");
}

}  // namespace

PasskeyQuestion insertKey(const Occasion& occasion, std::string problem) {
  auto asked = question(occasion, PasskeyStep::insertKey, "Insert your security key",
                        "Insert your security key into a USB port.");
  asked.problem = std::move(problem);
  return asked;
}

PasskeyQuestion working(const Occasion& occasion) {
  return question(occasion, PasskeyStep::working, "Security key", {});
}

PasskeyQuestion selectKey(const Occasion& occasion) {
  return question(occasion, PasskeyStep::selectKey, "Choose a security key",
                  "Several security keys are plugged in. Touch the one you want to use.");
}

PasskeyQuestion touchKey(const Occasion& occasion) {
  return question(occasion, PasskeyStep::touchKey, "Touch your security key",
                  occasion.isMaking ? "Touch your security key to create a passkey."
                                    : "Touch your security key to sign in.");
}

PasskeyQuestion enterPIN(const Occasion& occasion, std::string problem) {
  auto asked = question(occasion, PasskeyStep::enterPIN, "Enter the PIN",
                        "Enter the PIN of your security key.");
  asked.confirmTitle = "Continue";
  // No key has a shorter one: a slip must not cost a try.
  asked.minimumLength = kLeastPIN;
  asked.problem = std::move(problem);
  return asked;
}

PasskeyQuestion newPIN(const Occasion& occasion, std::size_t minimumLength, std::string problem) {
  auto asked = question(occasion, PasskeyStep::newPIN, "Choose a PIN",
                        "Your security key needs a new PIN. Remember it: the key asks for it from "
                        "now on.");
  asked.confirmTitle = "Continue";
  asked.problem = std::move(problem);
  asked.minimumLength = minimumLength;
  return asked;
}

PasskeyQuestion pickAccount(const Occasion& occasion, std::vector<std::string> accounts) {
  auto asked = question(occasion, PasskeyStep::account, "Choose an account",
                        "Your security key holds several passkeys for this site.");
  asked.choices = std::move(accounts);
  return asked;
}

std::string triesLeft(int tries) {
  return std::to_string(tries) + (tries == 1 ? " try left." : " tries left.");
}

Advice adviceOn(const Occasion& occasion, const PasskeyError& error, bool keyIsGone) {
  using enum Advice::Next;
  if (keyIsGone) {
    return outAndIn(
        "The connection to the security key was lost. Take it out and insert it again.");
  }
  switch (error.failure) {
    case PasskeyFailure::locked:
      return onLocked(occasion, error);
    case PasskeyFailure::excluded:
      return notice(occasion, otherKey, "Already set up",
                    "This security key already holds a passkey for this account.");
    case PasskeyFailure::noneFound:
      return notice(occasion, otherKey, "No passkey found",
                    "This security key holds no passkey that fits.");
    case PasskeyFailure::storageFull:
      return notice(occasion, otherKey, "No space left",
                    "This security key has no space for another passkey. Delete one with its "
                    "maker's tool, or use another key.");
    case PasskeyFailure::notSupported:
      return notice(occasion, otherKey, "Not possible with this key",
                    "This security key cannot do what is asked for here.");
    case PasskeyFailure::timedOut:
      return notice(occasion, sameKey, "That took too long",
                    "The security key was not touched in time.");
    case PasskeyFailure::cancelled:
      return notice(occasion, sameKey, "Declined on the key",
                    "The request was declined on the security key.");
    default:
      return notice(occasion, sameKey, "That did not work",
                    "The security key gave an answer that cannot be used (" + error.cause + ").");
  }
}

}  // namespace veltrane::fido2
