#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/base/secret.h"

namespace veltrane::authenticator {

/// What one guess costs whoever tries many: Argon2id's parameters.
struct StretchCost {
  std::uint32_t passes = 3;
  std::uint32_t memoryKiB = 64 * 1024;
  std::uint32_t lanes = 1;

  /// Within what this machine can be asked for, whatever a file says.
  bool isBearable() const;
};

/// How a secret that a person remembers was made into 32 bytes. Stored beside what these protect.
struct Stretch {
  StretchCost cost;
  std::string salt;

  /// With a salt of its own. Nothing when there is no randomness.
  static std::optional<Stretch> fresh(StretchCost cost);
  /// Argon2id. Nothing when there is not enough memory, or the parameters are no bearable ones.
  std::optional<Secret> apply(const Secret& remembered) const;
};

}  // namespace veltrane::authenticator
