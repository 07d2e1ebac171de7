#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "apps/sandbox/challenges.h"
#include "apps/sandbox/face/face_page.h"
#include "apps/sandbox/flow.h"
#include "apps/sandbox/passkeys/relying_party.h"
#include "apps/sandbox/placeholders.h"
#include "apps/sandbox/request_check.h"
#include "apps/sandbox/request_log.h"
#include "apps/sandbox/runs.h"

namespace veltrane::sandbox {

/// What a request is answered with, and for whom.
struct Decision {
  std::shared_ptr<const Flow> flow;  ///< Null for a picture alone, which belongs to none.
  std::shared_ptr<const Reply> reply;
  PlaceholderValues values;
  PasskeyStep passkey = PasskeyStep::none;
  std::string userName;  ///< Whom the request names; empty: nobody.
};

/// The flows of a server with their runs, challenges and passkeys: judges requests by them. Any
/// thread.
class Decider {
 public:
  /// Replaces the one of that id; runs that have begun keep the old one. Throws
  /// std::invalid_argument.
  void addFlow(std::string id, const std::string& jsonText);
  /// In alphabetical order.
  std::vector<std::string> flowIds() const;

  Challenges& challenges() { return challenges_; }
  const LastFace& lastFace() const { return lastFace_; }

  /// Holds a request to its form and finds its reply. `port`: of the server. Throws Refusal.
  Decision decide(const RecordedRequest& request, int port);

  /// The reply's text, now that it is about to be sent: opens its challenges, makes its passkey
  /// options and lets events name its documents. Throws Refusal.
  std::string issue(Decision decision);

 private:
  Decision decideStart(const StartRequest& start, int port);
  Decision decideEvent(const EventRequest& event, int port);
  Decision decideStatus(const StatusRequest& request);
  Decision byRules(std::shared_ptr<const Flow> flow, const Rules& rules, const nlohmann::json& body,
                   PlaceholderValues values);
  void check(const Decision& decision, const nlohmann::json& body);
  std::string withOptions(const Decision& decision, const std::string& text);
  std::shared_ptr<const Flow> flowOf(const std::string& id) const;

  Runs runs_;
  Challenges challenges_;
  RelyingParty relyingParty_;
  LastFace lastFace_;
  mutable std::mutex mutex_;  // guards what follows
  std::map<std::string, std::shared_ptr<const Flow>> flows_;
};

/// "https://localhost:PORT".
std::string serverURL(int port);

}  // namespace veltrane::sandbox
