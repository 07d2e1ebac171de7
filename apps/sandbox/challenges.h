#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "apps/sandbox/flow.h"
#include "apps/sandbox/placeholders.h"

namespace veltrane::sandbox {

/// Something that waits for a yes or no from another device.
struct Challenge {
  enum class State { open, approved, denied, expired };

  std::string id;
  std::string token;  ///< Whoever answers it must know this; a secret of the second device.
  std::string purpose;
  std::string companyId;
  std::string interactionId;
  State state = State::open;
  std::chrono::system_clock::time_point openedAt;
  std::chrono::milliseconds age{0};
};

/// The word for a state on the wire: "inProgress", "approved", "denied", "expired".
const char* statusWord(Challenge::State state);

/// The challenges of a server. An open one ends once, by an answer, by itself or by its age, and
/// stays as it is from then on. Remembers the latest ten thousand. Any thread.
class Challenges {
 public:
  using Clock = std::chrono::steady_clock;
  using Now = std::function<Clock::time_point()>;
  enum class Outcome { taken, unknown, wrongToken, late };

  explicit Challenges(Now now = Clock::now);
  ~Challenges();

  /// Opens a challenge as the flow plans it under that name; its id, which nobody can guess. The
  /// flow must have such a plan.
  std::string open(const std::shared_ptr<const Flow>& flow, const std::string& name,
                   const PlaceholderValues& values);

  std::optional<Challenge> find(const std::string& id) const;

  /// The open ones, the oldest first.
  std::vector<Challenge> openOnes() const;

  /// The state of the latest challenge that the interaction opened under that name; empty: none.
  std::string stateOf(const std::string& interactionId, const std::string& name) const;

  Outcome answer(const std::string& id, const std::string& token, bool approve);

  /// What a question for a status is answered with.
  struct StatusAnswer {
    std::shared_ptr<const Flow> flow;
    std::shared_ptr<const Reply> reply;
    PlaceholderValues values;  ///< Those of the answer that opened the challenge.
  };

  /// The answer to the next question for this challenge's status; nothing when there is no such
  /// challenge. Counts the question.
  std::optional<StatusAnswer> nextStatus(const std::string& id);

 private:
  struct Entry;
  void settle(Entry& entry) const;
  Challenge seen(Entry& entry) const;
  void forgetOldest();

  const Now now_;
  mutable std::mutex mutex_;
  // Settled by whoever looks: what ends by itself needs no thread.
  mutable std::map<std::string, Entry> entries_;
  std::deque<std::string> order_;
};

}  // namespace veltrane::sandbox
