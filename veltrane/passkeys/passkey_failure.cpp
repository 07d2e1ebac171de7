#include "veltrane/passkeys/passkey_failure.h"

#include <array>
#include <string_view>
#include <utility>

#include "veltrane/base/dictionary.h"

namespace veltrane {
namespace {

struct Wording {
  std::string_view name;
  std::string_view sentence;
};

/// In the order of the enumerators.
constexpr std::array<Wording, 10> kWordings{{
    {"cancelled", "The passkey request was cancelled."},
    {"noneFound", "No passkey for this account was found."},
    {"rpIdMismatch", "The relying party and the origin do not match."},
    {"excluded", "A passkey for this account exists already and is excluded."},
    {"timedOut", "The passkey request timed out."},
    {"notSupported", "This kind of passkey is not supported."},
    {"locked", "The authenticator is locked."},
    {"storageFull", "The authenticator has no room for another passkey."},
    {"invalidOptions", "The server's passkey options cannot be read."},
    {"failed", "The authenticator failed."},
}};

}  // namespace

VeltraneFlowError toFlowError(const PasskeyError& error) {
  const Wording& wording = kWordings.at(static_cast<std::size_t>(error.failure));
  auto flowError = VeltraneFlowError::veltraneError(std::string(wording.sentence));
  flowError.code = std::string(wording.name);
  Dictionary details;
  if (!error.cause.empty()) details.set("cause", error.cause);
  if (error.causeCode) details.set("causeCode", *error.causeCode);
  if (!details.empty()) flowError.details = JSON(details);
  return flowError;
}

}  // namespace veltrane
