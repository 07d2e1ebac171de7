#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/base/json.h"

class QQuickItem;
class QQuickWindow;

namespace veltrane::qtquick {
class FlowStage;
class ListScreenItem;
}  // namespace veltrane::qtquick

namespace veltrane::window {

class SheetPlayer;

/// Does what a script says, as a user would: clicks on what is seen, and types. One step at a time,
/// each when the screen is at rest.
class ScriptPlayer {
 public:
  using Say = std::function<void(const std::string& line)>;

  ScriptPlayer(qtquick::FlowStage& stage, QQuickWindow& window, std::vector<JSON> commands,
               Say say);

  bool isDone() const { return steps_.empty(); }
  /// The next step leaves the screen: a last look at what has been entered is worth a picture.
  bool isAboutToPress() const;
  /// Carries out the next step. What stands in its way, if anything; then the script is over.
  std::optional<std::string> playNext();

 private:
  using Refusal = std::optional<std::string>;
  using Step = std::function<Refusal()>;
  struct NamedStep {
    std::string name;
    Step run;
  };

  Step stepFor(const JSON& command);
  Refusal input(const JSON& command);
  Refusal toggle(const JSON& command);
  Refusal choose(const JSON& command);
  Refusal pick(const std::string& option);
  Refusal select(const JSON& command);
  Refusal press(const JSON& command, int tries);
  Refusal clickNamed(const char* name);
  Refusal dismissAlert();
  Refusal handOver(const std::shared_ptr<SheetPlayer>& player);

  qtquick::ListScreenItem* screen() const;
  int rowOf(const JSON& command) const;
  /// The control of a row of this class, scrolled into view; null when there is none.
  QQuickItem* control(int row, const char* className) const;
  QQuickItem* named(const char* name) const;
  Refusal retype(QQuickItem& field, const std::string& text);

  qtquick::FlowStage& stage_;
  QQuickWindow& window_;
  Say say_;
  std::deque<NamedStep> steps_;
};

}  // namespace veltrane::window
