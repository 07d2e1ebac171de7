#pragma once

#include <functional>
#include <optional>
#include <string>

class QQuickItem;
class QQuickWindow;

namespace veltrane::qtquick {
class PasskeyItem;
}

namespace veltrane::window {

/// Answers the panels of passkeys beside a script, as a person would who agrees: confirms, picks
/// this device or the first of what is offered, and types a PIN and a passphrase of its own. One
/// step at a time, each when the panel is at rest.
class PasskeyPlayer {
 public:
  using Say = std::function<void(const std::string& line)>;

  PasskeyPlayer(QQuickWindow& window, Say say) : window_(window), say_(std::move(say)) {}

  /// Another question has come.
  void asked() {
    hasTypedBefore_ = hasTypedBefore_ || hasTyped_;
    hasTyped_ = false;
  }

  /// Takes the next step. What stands in its way, if anything.
  std::optional<std::string> answer(qtquick::PasskeyItem& panel);

 private:
  using Refusal = std::optional<std::string>;

  Refusal click(qtquick::PasskeyItem& panel, const char* name);
  Refusal pick(qtquick::PasskeyItem& panel);
  Refusal type(qtquick::PasskeyItem& panel);

  QQuickWindow& window_;
  Say say_;
  bool hasTyped_ = false;
  /// Into an earlier question; a problem is then what was typed.
  bool hasTypedBefore_ = false;
};

/// For the picture of it.
std::string nameOf(const qtquick::PasskeyItem& panel);

}  // namespace veltrane::window
