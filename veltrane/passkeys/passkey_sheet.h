#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/base/secret.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {

/// What the sheet asks of the person.
enum class PasskeyStep : std::uint8_t {
  none,           ///< nothing: the sheet is not on display
  consent,        ///< confirm or cancel
  account,        ///< pick one of `choices`
  method,         ///< pick one of `choices`: where the passkey is, or is to be
  insertKey,      ///< plug in a security key
  touchKey,       ///< touch the security key
  selectKey,      ///< touch the one of several security keys
  enterPIN,       ///< type the PIN
  newPIN,         ///< choose a PIN, typed twice
  passphrase,     ///< type the passphrase that opens the store
  newPassphrase,  ///< choose that passphrase, typed twice
  notice,         ///< read what went wrong; confirm goes on where `confirmTitle` is set
  working,        ///< wait a moment
};

/// Whether the step is answered by typing a PIN or passphrase.
bool takesSecret(PasskeyStep step);

/// One thing that the sheet shows. Every text is for a person and may be drawn as it is.
struct PasskeyQuestion {
  PasskeyStep step = PasskeyStep::none;
  std::string title = {};
  std::string message = {};
  /// The relying party ("example.com") and the account's name; empty where there is none to tell.
  std::string relyingParty = {};
  std::string account = {};
  /// Lines to pick from, for `account` and `method`.
  std::vector<std::string> choices = {};
  /// The button that goes on; empty: only Cancel.
  std::string confirmTitle = {};
  /// A second way out, as "Use a security key"; empty: none.
  std::string alternativeTitle = {};
  /// What was wrong with the last answer ("Wrong PIN. 3 tries left."); empty: nothing.
  std::string problem = {};
  /// The least number of characters (code points) of a new PIN or passphrase.
  std::size_t minimumLength = 0;
};

struct PasskeyAnswer {
  enum class Kind : std::uint8_t { confirmed, alternative, cancelled };
  Kind kind = Kind::cancelled;
  /// Of `choices`.
  std::size_t choice = 0;
  /// PIN or passphrase.
  Secret secret = {};
};

/// The panel that a person sees while a passkey is made or used: what it asks now, as retained
/// state that front ends mirror, and the person's acts. Main thread only. At most one question is
/// open; a new one takes the place of the old, whose answer then never comes.
class PasskeySheet {
 public:
  using Answer = std::function<void(PasskeyAnswer)>;

  PasskeySheet() = default;
  /// Closes it: no front end goes on showing what nobody asks any more.
  ~PasskeySheet() { close(); }
  PasskeySheet(const PasskeySheet&) = delete;
  PasskeySheet& operator=(const PasskeySheet&) = delete;

  /// Sent whenever `question()` has changed.
  Signal<> changed;

  const PasskeyQuestion& question() const { return question_; }
  bool isOpen() const { return question_.step != PasskeyStep::none; }
  /// Whether `cancel` does something: a question is open, or `work` has said who is to be told.
  bool canCancel() const { return answer_ || (isOpen() && cancelled_); }

  /// Shows a question. `answer` is called once at most, after the sheet has gone to `working`.
  void ask(PasskeyQuestion question, Answer answer);
  /// A second way out that every question from now on has which names none itself. Taken, it
  /// calls `action` in place of the question's answer. An empty title ends the offer.
  void offer(std::string title, std::function<void()> action);
  /// Opens the sheet with nothing to ask yet. From now on Cancel calls `cancelled` wherever no
  /// question takes it.
  void work(std::function<void()> cancelled);
  /// Takes the sheet away without an answer.
  void close();

  // The person's acts. One that the present question does not offer does nothing.
  void confirm();
  void choose(std::size_t index);
  /// For the steps that take a PIN or passphrase. A new one that is too short stays, with a
  /// problem.
  void enter(Secret secret);
  void useAlternative();
  void cancel();

 private:
  void reply(PasskeyAnswer answer);

  PasskeyQuestion question_;
  Answer answer_;
  std::function<void()> cancelled_;
  std::string offerTitle_;
  std::function<void()> offerAction_;
  bool showsOffer_ = false;
};

/// Port: shows the sheets of passkeys to the person in front of the screen. Main thread.
class PasskeyPresenter {
 public:
  virtual ~PasskeyPresenter() = default;
  /// Shows what `sheet` asks from now on until it is closed and dropped. Held weakly by the front
  /// end: the client owns it.
  virtual void present(const std::shared_ptr<PasskeySheet>& sheet) = 0;
};

}  // namespace veltrane
