#include "platform/fido2/verification.h"

#include <fido.h>

#include <optional>
#include <string>
#include <utility>

#include "veltrane/base/secret.h"

namespace veltrane::fido2 {
namespace {

/// What CTAP takes.
constexpr std::size_t kLongestPIN = 63;

class Verification {
 public:
  Verification(KeyConnection& key, Conversation& talk, const Occasion& occasion)
      : key_(key), talk_(talk), occasion_(occasion) {}

  int run(Requirement requirement, const KeyOperation& operation) {
    const bool hasPIN = fido_dev_has_pin(key_.device());
    byKey_ = requirement != Requirement::discouraged && fido_dev_has_uv(key_.device());
    const bool needsPIN = !byKey_ && (requirement == Requirement::required ||
                                      (requirement == Requirement::preferred && hasPIN));
    int result = needsPIN ? obtainPIN() : FIDO_OK;
    while (result == FIDO_OK) {
      talk_.show(touchKey(occasion_));
      const int done = operation(pin_ ? pin_->cString() : nullptr, byKey_);
      const auto next = afterwards(done);
      if (!next) return done;
      result = *next;
    }
    return result;
  }

 private:
  /// Whether the operation can be tried once more: FIDO_OK if so, or what stands against it.
  /// Nothing: the result is no matter of verification.
  std::optional<int> afterwards(int result) {
    switch (result) {
      case FIDO_ERR_PIN_INVALID:
      case FIDO_ERR_PIN_AUTH_INVALID:
        return pin_ ? std::optional(askPIN("Wrong PIN.")) : std::nullopt;
      case FIDO_ERR_PIN_POLICY_VIOLATION:
        // The key wants its PIN to be changed first.
        return pin_ ? std::optional(choosePIN()) : std::nullopt;
      case FIDO_ERR_UV_INVALID:
      case FIDO_ERR_UV_BLOCKED:
        if (!std::exchange(byKey_, false) || !fido_dev_has_pin(key_.device())) return std::nullopt;
        return askPIN("You were not recognised.");
      case FIDO_ERR_PIN_REQUIRED:
      case FIDO_ERR_PIN_NOT_SET:
        return pin_ ? std::nullopt : std::optional(obtainPIN());
      default:
        return std::nullopt;
    }
  }

  int obtainPIN() {
    if (fido_dev_has_pin(key_.device())) return askPIN({});
    return fido_dev_supports_pin(key_.device()) ? choosePIN() : FIDO_ERR_UNSUPPORTED_OPTION;
  }

  int askPIN(std::string problem) {
    int tries = 0;
    const int result = fido_dev_get_retry_count(key_.device(), &tries);
    if (result != FIDO_OK) return result;
    if (tries <= 0) return FIDO_ERR_PIN_BLOCKED;
    // Fewer than all: somebody has guessed.
    constexpr int kAll = 8;
    if (!problem.empty()) problem += " ";
    if (!problem.empty() || tries < kAll) problem += triesLeft(tries);
    auto answer = talk_.ask(enterPIN(occasion_, std::move(problem)));
    if (!answer) return FIDO_ERR_KEEPALIVE_CANCEL;
    byKey_ = false;
    pin_ = std::move(answer->secret);
    return FIDO_OK;
  }

  int choosePIN() {
    std::string problem;
    for (;;) {
      auto answer = talk_.ask(newPIN(occasion_, key_.abilities().minimumPIN, problem));
      if (!answer) return FIDO_ERR_KEEPALIVE_CANCEL;
      if (answer->secret.size() > kLongestPIN) {
        problem = "That PIN is too long for the security key.";
        continue;
      }
      talk_.show(working(occasion_));
      const int result = fido_dev_set_pin(key_.device(), answer->secret.cString(),
                                          pin_ ? pin_->cString() : nullptr);
      if (result == FIDO_OK) pin_ = std::move(answer->secret);
      if (result != FIDO_ERR_PIN_POLICY_VIOLATION) return result;
      problem = "The security key does not take that PIN. Choose another.";
    }
  }

  KeyConnection& key_;
  Conversation& talk_;
  const Occasion& occasion_;
  std::optional<Secret> pin_;
  bool byKey_ = false;
};

}  // namespace

int verified(KeyConnection& key, Conversation& talk, const Occasion& occasion,
             Requirement requirement, const KeyOperation& operation) {
  return Verification(key, talk, occasion).run(requirement, operation);
}

}  // namespace veltrane::fido2
