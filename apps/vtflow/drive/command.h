#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "apps/vtflow/drive/screens/screen_adapter.h"

namespace veltrane::tool {

class Stage;

enum class Awaited : std::uint8_t { idle, screen, result };

/// One line of the driver's input, understood as far as that goes without a screen.
struct Command {
  /// Refused whatever is on display.
  struct Unsound {
    std::string why;
  };
  /// What a user or the host does.
  struct Act {
    std::function<Refusal(Stage&)> act;
    /// Taken while the start screen waits for the flow.
    bool onStartScreen = false;
    /// Taken while an alert is on display.
    bool overAlert = false;
    /// Only looks: what it causes is no news.
    bool looksOnly = false;
  };
  struct Wait {
    Awaited awaited;
    std::chrono::milliseconds timeout;
  };
  struct Quit {};

  /// The command's name as it came; absent when the line names none.
  std::optional<std::string> name;
  std::variant<Unsound, Act, Wait, Quit> what;

  /// Never fails: what cannot be understood is an `Unsound` command. No line stands for one that
  /// was too long.
  static Command parse(const std::optional<std::string>& line);
};

}  // namespace veltrane::tool
