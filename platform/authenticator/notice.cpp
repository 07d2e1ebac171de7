#include "platform/authenticator/notice.h"

#include <utility>

namespace veltrane::authenticator {
namespace {

PasskeyQuestion notice(std::string title, std::string message) {
  return {.step = PasskeyStep::notice,
          .title = std::move(title),
          .message = std::move(message),
          .confirmTitle = "Close"};
}

}  // namespace

std::optional<PasskeyQuestion> noticeOf(const PasskeyError& error) {
  switch (error.failure) {
    case PasskeyFailure::locked:
      return notice("The passkeys of this device are locked",
                    "The PIN was wrong too often. A reset opens them again and deletes them all.");
    case PasskeyFailure::excluded:
      return notice("There is a passkey already", "This device has one for this account.");
    case PasskeyFailure::notSupported:
      return notice("This device cannot do that",
                    "It has no passkey of the kind that is asked for, or what keeps its key is "
                    "not there now.");
    case PasskeyFailure::storageFull:
    case PasskeyFailure::failed:
      return notice("That did not work", "This device could not use its passkeys.");
    case PasskeyFailure::cancelled:
    case PasskeyFailure::noneFound:
    case PasskeyFailure::rpIdMismatch:
    case PasskeyFailure::timedOut:
    case PasskeyFailure::invalidOptions:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace veltrane::authenticator
