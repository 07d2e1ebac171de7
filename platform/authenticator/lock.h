#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "veltrane/base/secret.h"

namespace veltrane::authenticator {

/// What one guess costs whoever tries many: Argon2id's parameters.
struct StretchCost {
  std::uint32_t passes = 3;
  std::uint32_t memoryKiB = 64 * 1024;
  std::uint32_t lanes = 1;
};

/// How a PIN or passphrase is checked, and what it opens: it is stretched by Argon2id into a key,
/// of which nothing but a check value is stored.
struct Lock {
  StretchCost cost;
  std::string salt;
  /// Tells a wrong guess without telling the key.
  std::string check;
  /// How often it may still be tried; for a passphrase, nobody counts.
  int triesLeft = 0;
};

struct NewLock {
  Lock lock;
  /// 32 bytes.
  Secret key;
};

// Nothing where memory or randomness is short, or the parameters are none that this machine would
// bear, whatever a file says.

std::optional<NewLock> makeLock(const Secret& remembered, StretchCost cost);

struct Opening {
  bool isRight = false;
  /// 32 bytes if right.
  Secret key;
};
std::optional<Opening> openLock(const Lock& lock, const Secret& guess);

}  // namespace veltrane::authenticator
