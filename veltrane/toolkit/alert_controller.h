#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

enum class AlertStyle : std::uint8_t { actionSheet = 0, alert = 1 };
enum class AlertActionStyle : std::uint8_t { defaultStyle = 0, cancel = 1 };

struct AlertAction {
  std::string title;
  AlertActionStyle style = AlertActionStyle::defaultStyle;
  /// May be empty.
  std::function<void()> handler;
};

/// A message box or a sheet of actions over a screen.
class AlertController final : public ViewController {
 public:
  AlertController(std::optional<std::string> title, std::optional<std::string> message,
                  AlertStyle style);
  std::string_view className() const override { return "AlertController"; }

  void addAction(AlertAction action) { actions_.push_back(std::move(action)); }
  const std::vector<AlertAction>& actions() const { return actions_; }
  const std::optional<std::string>& message() const { return message_; }
  AlertStyle style() const { return style_; }

  /// The user picks an action: the box closes, then its handler runs. A second pick does nothing.
  void select(std::size_t index);
  /// The user waves the box away: picks its cancel action.
  void cancel();

 protected:
  bool isAlert() const override { return true; }

 private:
  std::optional<std::string> message_;
  AlertStyle style_;
  std::vector<AlertAction> actions_;
  bool answered_ = false;
};

}  // namespace veltrane
