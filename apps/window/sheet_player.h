#pragma once

#include <QElapsedTimer>
#include <functional>
#include <optional>
#include <string>

#include "veltrane/base/json.h"

class QQuickItem;
class QQuickWindow;

namespace veltrane::qtquick {
class FlowStage;
class HandOverItem;
}  // namespace veltrane::qtquick

namespace veltrane::window {

/// Plays one outcome of a hand-over on the sandbox's page of an identity vendor, with the keys that
/// a user without a mouse has. The page is its own, so what a press has done shows later.
class SheetPlayer {
 public:
  using Say = std::function<void(const std::string& line)>;

  SheetPlayer(qtquick::FlowStage& stage, QQuickWindow& window, JSON outcome, Say say);

  enum class State { goesOn, looks, done };
  /// One act, if one is due. What stands in its way, if anything.
  std::optional<std::string> play(State& state);

 private:
  using Refusal = std::optional<std::string>;
  bool isDue();
  Refusal playOn(qtquick::HandOverItem& view, State& state);
  void allowCamera(QQuickItem& action);
  /// The control of this number, counted from the page's head.
  void pressControl(QQuickItem& page, int number);

  qtquick::FlowStage& stage_;
  QQuickWindow& window_;
  const JSON outcome_;
  Say say_;
  QElapsedTimer lastAct_;
  int acts_ = 0;
  bool hasActed_ = false;
  bool wantsCamera_;
};

}  // namespace veltrane::window
