#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/fido2/conversation.h"
#include "platform/fido2/key_connection.h"
#include "platform/fido2/key_words.h"

namespace veltrane::fido2 {

/// Has the person insert a key and, of several, touch one. Used by one thread.
class KeyFinder {
 public:
  KeyFinder(KeySource& source, Conversation& talk, Occasion occasion,
            KeyConnection::Clock::time_point deadline, Patience patience);

  /// An opened key. Null: the request is over, or its time is.
  std::unique_ptr<KeyConnection> find();

  /// That key does not count any more until it has been taken out. As long as no other is there,
  /// the sheet tells `problem`, and Cancel answers `error`.
  void setAside(const std::string& path, std::string problem, PasskeyError error);

 private:
  using Keys = std::vector<std::unique_ptr<KeyConnection>>;

  bool isOver() const;
  std::vector<std::string> present();
  Keys open(const std::vector<std::string>& paths);
  std::unique_ptr<KeyConnection> select(Keys keys);
  void askForKey();

  KeySource& source_;
  Conversation& talk_;
  Occasion occasion_;
  KeyConnection::Clock::time_point deadline_;
  Patience patience_;
  std::set<std::string> aside_;
  std::string problem_;
  PasskeyError ifCancelled_{PasskeyFailure::cancelled};
  std::vector<std::string> tried_;
  /// The problem of the question on display.
  std::optional<std::string> told_;
};

}  // namespace veltrane::fido2
