#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "apps/sandbox/flow.h"
#include "apps/sandbox/passkeys/response_checks.h"

namespace veltrane::sandbox {

/// A relying party of passkeys: hands out options, holds the answers to them, and keeps the
/// passkeys of its users as long as it lives, up to ten thousand. Any thread.
///
/// Options belong to an interaction and hold for one answer, right or wrong, until their time is
/// up; newer ones take the place of older ones.
class RelyingParty {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;

  /// Whom options are for, and where their answers may come from.
  struct Ceremony {
    RelyingPartyPlan party;  ///< Its origins without placeholders.
    std::string interactionId;
    std::string userName;  ///< Empty: of request options for whoever answers.
  };

  explicit RelyingParty(Now now = Clock::now) : now_(std::move(now)) {}

  bool knows(const std::string& rpId, const std::string& userName) const;

  /// Completes the answer's "publicKeyCredentialCreationOptions", whose members that are there
  /// already stay, and adds "challenge". Throws Refusal.
  void addCreationOptions(const Ceremony& ceremony, nlohmann::json& answer);

  /// Completes the answer's "initiateAuthenticationResponse" likewise. Throws Refusal.
  void addRequestOptions(const Ceremony& ceremony, nlohmann::json& answer);

  /// Keeps the passkey that the answer to creation options brings. Throws Refusal.
  void checkRegistration(const std::string& interactionId, const nlohmann::json& response);

  /// Throws Refusal.
  void checkAssertion(const std::string& interactionId, const nlohmann::json& response);

 private:
  struct Open {
    std::string type;  // of the client data that answers it
    Ceremony ceremony;
    std::string challenge;
    std::string userId;  // of creation options; its bytes
    std::vector<int> algorithms;
    bool needsVerification = false;
    Clock::time_point until;
  };

  struct Passkey {
    std::string rpId;
    std::string userName;
    std::string userId;
    PublicKey key;
    std::uint32_t counter = 0;
    std::vector<std::string> transports;
  };

  void open(Open opened, const nlohmann::json& options, const nlohmann::json& verification);
  Open take(const std::string& interactionId, const char* type);
  std::string userIdOf(const Ceremony& ceremony) const;
  nlohmann::json descriptorsOf(const Ceremony& ceremony) const;

  const Now now_;
  mutable std::mutex mutex_;                 // guards what follows
  std::map<std::string, Open> open_;         // by interaction
  std::deque<std::string> order_;            // its keys, the oldest first
  std::map<std::string, Passkey> passkeys_;  // by credential id, its bytes
};

}  // namespace veltrane::sandbox
