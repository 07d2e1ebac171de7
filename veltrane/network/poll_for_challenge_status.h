#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/base/dictionary.h"

namespace veltrane {

/// Waits for the outcome of an approval on another device by asking the server again and again.
struct PollForChallengeStatus {
  /// A final status ("approved", "denied", "timedOut") or an error text; exactly one is present.
  using Callback =
      std::function<void(std::optional<std::string> status, std::optional<std::string> error)>;

  struct Arguments {
    std::string companyId;
    std::string challengeId;
    double pollInterval;  // milliseconds; under 100, or not a number, counts as 100
    double pollRetries;   // ticks after which the run gives up
    std::string interactionId;
    std::optional<Dictionary> props = std::nullopt;
    Callback callback;
  };

  /// One run. Dropping it ends it without another word.
  class Run {
   public:
    virtual ~Run() = default;
    /// It still asks the server from time to time.
    virtual bool isRunning() const = 0;
  };

  /// Starts asking, the first time one interval from now. Main thread; so is the callback.
  [[nodiscard]] static std::shared_ptr<Run> startClientSidePoll(Arguments arguments);
};

}  // namespace veltrane
