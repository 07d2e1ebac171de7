#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "veltrane/passkeys/passkey_failure.h"
#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane {
class MainQueue;
}

namespace veltrane::authenticator {

/// One request between the authenticator's thread, which asks and waits, and the main thread, where
/// the person answers and the request may be dropped at any time. Either it is heard to its end or
/// it is dropped, whichever comes first, never both.
class Conversation : public std::enable_shared_from_this<Conversation> {
 public:
  Conversation(std::weak_ptr<MainQueue> mainQueue, std::shared_ptr<PasskeySheet> sheet);

  // The authenticator's thread.

  /// Whom the secrets that are asked for from now on are typed for: every such question names them.
  void isAbout(std::string relyingParty, std::string account);
  /// Waits for the person. `cancelled` when they cancel, or when the request is dropped.
  PasskeyResult<PasskeyAnswer> ask(PasskeyQuestion question);
  /// Has `deliver` called on the main thread, and waits until that begins. False, without a call,
  /// when the request is dropped first.
  bool finish(std::function<void()> deliver);

  // The main thread.

  void drop();

 private:
  enum class State { open, finished, dropped };

  void async(std::function<void()> work);
  void put(PasskeyQuestion question);
  void take(PasskeyAnswer answer);
  bool end(State state);

  /// The authenticator's thread only.
  std::string relyingParty_;
  std::string account_;

  /// Not held: what it has not run yet holds this.
  std::weak_ptr<MainQueue> mainQueue_;
  /// Main thread only, as what it holds is.
  std::shared_ptr<PasskeySheet> sheet_;

  std::mutex mutex_;
  std::condition_variable wake_;
  State state_ = State::open;
  std::optional<PasskeyAnswer> answer_;
};

}  // namespace veltrane::authenticator
