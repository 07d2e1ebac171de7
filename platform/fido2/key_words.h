#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "veltrane/passkeys/passkey_failure.h"
#include "veltrane/passkeys/passkey_sheet.h"

// All that a person reads while a security key is used.
namespace veltrane::fido2 {

/// What the key is needed for.
struct Occasion {
  bool isMaking = false;
  std::string relyingParty;
  /// Empty while it is not known yet.
  std::string account;
};

PasskeyQuestion insertKey(const Occasion& occasion, std::string problem);
PasskeyQuestion working(const Occasion& occasion);
PasskeyQuestion selectKey(const Occasion& occasion);
PasskeyQuestion touchKey(const Occasion& occasion);
PasskeyQuestion enterPIN(const Occasion& occasion, std::string problem);
PasskeyQuestion newPIN(const Occasion& occasion, std::size_t minimumLength, std::string problem);
PasskeyQuestion pickAccount(const Occasion& occasion, std::vector<std::string> accounts);

/// "1 try left."
std::string triesLeft(int tries);

/// What to do when a key has failed.
struct Advice {
  enum class Next : std::uint8_t {
    sameKey,   ///< the notice's confirmation starts over
    otherKey,  ///< likewise, but not with this key as long as it is plugged in
    reinsert,  ///< no notice: the key has to be taken out and inserted
  };
  Next next = Next::sameKey;
  /// Without a notice its problem alone counts.
  PasskeyQuestion notice;
};

Advice adviceOn(const Occasion& occasion, const PasskeyError& error, bool keyIsGone);

}  // namespace veltrane::fido2
