#include "platform/authenticator/lock.h"

#include <argon2.h>
#include <openssl/crypto.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <utility>

#include "platform/authenticator/openssl_error.h"

namespace veltrane::authenticator {
namespace {

constexpr std::size_t kSaltSize = 16;
constexpr std::size_t kKeySize = 32;
constexpr StretchCost kMost{.passes = 16, .memoryKiB = 256 * 1024, .lanes = 4};

bool isBearable(const StretchCost& cost) {
  return cost.passes <= kMost.passes && cost.memoryKiB <= kMost.memoryKiB &&
         cost.lanes <= kMost.lanes;
}

/// Argon2id refuses what is too little by itself.
std::optional<Secret> stretched(const Secret& remembered, const Lock& lock) {
  if (!isBearable(lock.cost)) return std::nullopt;
  std::string hash(kKeySize, '\0');
  const std::string_view bytes = remembered.bytes();
  const int code =
      argon2id_hash_raw(lock.cost.passes, lock.cost.memoryKiB, lock.cost.lanes, bytes.data(),
                        bytes.size(), lock.salt.data(), lock.salt.size(), hash.data(), hash.size());
  Secret secret(std::move(hash));
  if (code != ARGON2_OK) return std::nullopt;
  return secret;
}

/// One key for each purpose.
std::optional<Secret> derived(const Secret& from, std::string_view purpose) {
  std::string bytes(kKeySize, '\0');
  const std::string_view key = from.bytes();
  const bool isDone = HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), asBytes(purpose),
                           purpose.size(), asBytes(bytes), nullptr) != nullptr;
  Secret secret(std::move(bytes));
  if (!isDone) return std::nullopt;
  return secret;
}

struct Derived {
  Secret check;
  Secret key;
};

std::optional<Derived> derive(const Secret& remembered, const Lock& lock) {
  const auto secret = stretched(remembered, lock);
  if (!secret) return std::nullopt;
  auto check = derived(*secret, "check");
  auto key = derived(*secret, "key");
  if (!check || !key) return std::nullopt;
  return Derived{std::move(*check), std::move(*key)};
}

bool isSame(std::string_view a, std::string_view b) {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::optional<NewLock> makeLock(const Secret& remembered, StretchCost cost) {
  Lock lock{.cost = cost, .salt = std::string(kSaltSize, '\0')};
  if (RAND_bytes(asBytes(lock.salt), kSaltSize) <= 0) return std::nullopt;
  auto derived = derive(remembered, lock);
  if (!derived) return std::nullopt;
  lock.check = derived->check.bytes();
  return NewLock{std::move(lock), std::move(derived->key)};
}

std::optional<Opening> openLock(const Lock& lock, const Secret& guess) {
  auto derived = derive(guess, lock);
  if (!derived) return std::nullopt;
  if (!isSame(derived->check.bytes(), lock.check)) return Opening{};
  return Opening{true, std::move(derived->key)};
}

}  // namespace veltrane::authenticator
