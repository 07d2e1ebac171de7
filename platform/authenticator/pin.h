#pragma once

#include <optional>

#include "platform/authenticator/credential_store.h"

namespace veltrane::authenticator {

class Conversation;

/// The authenticator's PIN: how the person proves that they are the one who set it up.
class Pin {
 public:
  static constexpr std::size_t kShortest = 4;

  Pin(CredentialStore& store, StretchCost cost) : store_(store), cost_(cost) {}

  enum class State : std::uint8_t { unset, set, locked };
  PasskeyResult<State> state();

  /// Asks until it is right, chosen at first. Each try is counted on disk before it is checked, so
  /// that ending the program gives none back. Nothing when verified.
  std::optional<PasskeyError> verify(Conversation& conversation);

 private:
  struct Progress {
    bool isVerified = false;
    bool wasRefused = false;
  };
  PasskeyResult<Progress> choose(bool again, Conversation& conversation);
  PasskeyResult<Progress> enter(const Lock& lock, bool again, Conversation& conversation);
  PasskeyResult<Progress> check(const Lock& lock, const Secret& pin);

  CredentialStore& store_;
  StretchCost cost_;
};

/// Too many wrong PINs.
PasskeyError lockedError();

}  // namespace veltrane::authenticator
