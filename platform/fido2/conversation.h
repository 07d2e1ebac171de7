#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

#include "platform/fido2/halt.h"
#include "veltrane/passkeys/authenticator.h"
#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane {
class MainQueue;
}

namespace veltrane::fido2 {

using Outcome = std::variant<PasskeyError, MadeCredential, Assertion>;

/// What a key's thread and the person in front of the sheet say to each other about one request,
/// and the one answer that comes of it. The person's Cancel answers at once, whatever the thread is
/// doing; the thread is halted and what it comes to afterwards is dropped.
class Conversation : public std::enable_shared_from_this<Conversation> {
 public:
  using Answer = std::function<void(Outcome)>;

  /// Main thread. `answer` is called there, once at most.
  Conversation(const std::shared_ptr<MainQueue>& mainQueue, std::shared_ptr<PasskeySheet> sheet,
               Answer answer);

  // For the key's thread.

  /// Shows what needs no answer here. `ifCancelled` is the request's answer should the person
  /// leave.
  void show(PasskeyQuestion question, PasskeyError ifCancelled = {PasskeyFailure::cancelled});
  /// Shows a question and waits. Nothing: the request is over.
  std::optional<PasskeyAnswer> ask(PasskeyQuestion question,
                                   PasskeyError ifCancelled = {PasskeyFailure::cancelled});
  /// False: the request is over.
  bool pause(std::chrono::milliseconds time) const;
  const Halt& halt() const { return halt_; }

  // Any thread.

  /// Ends the request: the sheet is taken away and the answer given, on the main thread, unless it
  /// has ended already.
  void end(Outcome outcome);
  /// Ends it with `cancelled`, and halts the thread now.
  void abandon();

  /// Main thread: no answer any more.
  void drop();

 private:
  using Heard = std::function<void(PasskeyAnswer)>;

  void post(PasskeyQuestion question, PasskeyError ifCancelled, Heard heard);
  void async(std::function<void()> work);
  void hear(PasskeyAnswer answer);
  void stop();

  /// Weak: work that it never runs would keep it for good.
  const std::weak_ptr<MainQueue> mainQueue_;
  Halt halt_;

  // Main thread alone; empty once the request is over.
  std::shared_ptr<PasskeySheet> sheet_;
  Answer answer_;

  std::mutex mutex_;
  std::condition_variable heard_;
  std::optional<PasskeyAnswer> said_;
};

}  // namespace veltrane::fido2
