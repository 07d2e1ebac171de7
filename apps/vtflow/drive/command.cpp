#include "apps/vtflow/drive/command.h"

#include <utility>

#include "apps/vtflow/drive/command_fields.h"
#include "apps/vtflow/drive/hand_over/hand_overs.h"
#include "apps/vtflow/drive/stage.h"
#include "veltrane/ui/flow_screen.h"

namespace veltrane::tool {
namespace {

using What = decltype(Command::what);
using Do = std::function<Refusal(ScreenAdapter&)>;

constexpr std::chrono::milliseconds kUsualWait{10'000};

/// An act on the screen on display.
Command::Act onScreen(Do act) {
  return {.act = [act = std::move(act)](Stage& stage) -> Refusal {
    auto* const screen = stage.screenOnDisplay();
    return screen ? act(*screen) : "no screen is on display";
  }};
}

Command::Act alsoOnStartScreen(Command::Act act) {
  act.onStartScreen = true;
  return act;
}

What input(const JSON& fields) {
  return onScreen([row = requiredRowName(fields), text = requiredText(fields, "text")](
                      ScreenAdapter& screen) { return screen.input(row, text); });
}

What toggle(const JSON& fields) {
  return onScreen([row = requiredRowName(fields), on = requiredBoolean(fields, "on")](
                      ScreenAdapter& screen) { return screen.toggle(row, on); });
}

What choose(const JSON& fields) {
  return onScreen([row = requiredRowName(fields), option = requiredText(fields, "option")](
                      ScreenAdapter& screen) { return screen.choose(row, option); });
}

What press(const JSON& fields) {
  return onScreen([row = optionalRow(fields)](ScreenAdapter& screen) { return screen.press(row); });
}

What select(const JSON& fields) {
  return onScreen(
      [row = requiredRow(fields)](ScreenAdapter& screen) { return screen.select(row); });
}

What cancel(const JSON&) {
  return alsoOnStartScreen(onScreen([](ScreenAdapter& screen) { return screen.cancel(); }));
}

What back(const JSON&) {
  return onScreen([](ScreenAdapter& screen) { return screen.back(); });
}

What retry(const JSON&) {
  return alsoOnStartScreen(onScreen([](ScreenAdapter& screen) { return screen.retry(); }));
}

What dismissAlert(const JSON&) {
  const auto act = [](Stage& stage) -> Refusal {
    const auto alert = stage.alertOnDisplay();
    if (!alert) return "no alert is on display";
    alert->cancel();
    return std::nullopt;
  };
  return Command::Act{.act = act, .overAlert = true};
}

What sdk(const JSON& fields) {
  return Command::Act{.act = [outcome = readOutcome(fields["outcome"])](Stage& stage) {
    return stage.handOvers().answer(outcome);
  }};
}

What post(const JSON& fields) {
  const auto userInfo = fields["userInfo"];
  const auto error = userInfo["error"].text();
  const auto response = userInfo["response"];
  if (error.has_value() == response.isObject()) {
    throw FieldError("\"userInfo\" must hold either a text \"error\" or an object \"response\"");
  }
  const auto act = [error = userInfo["error"], response](Stage&) -> Refusal {
    if (const auto text = error.text()) {
      postFlowError(VeltraneFlowError::veltraneError(std::string(*text)));
    } else {
      postFlowResponse(response);
    }
    return std::nullopt;
  };
  return Command::Act{.act = act, .onStartScreen = true, .overAlert = true};
}

What snapshot(const JSON&) {
  const auto act = [](Stage& stage) -> Refusal {
    if (stage.writeSnapshot()) return std::nullopt;
    return "no screen is on display";
  };
  return Command::Act{.act = act, .overAlert = true, .looksOnly = true};
}

What wait(const JSON& fields) {
  const auto word = requiredText(fields, "for");
  Command::Wait wait{Awaited::idle, secondsOr(fields, "timeout", kUsualWait)};
  if (word == "screen") {
    wait.awaited = Awaited::screen;
  } else if (word == "result") {
    wait.awaited = Awaited::result;
  } else if (word != "idle") {
    throw FieldError("\"for\" must be \"idle\", \"screen\" or \"result\"");
  }
  return wait;
}

What quit(const JSON&) {
  return Command::Quit{};
}

struct Kind {
  std::string_view name;
  What (*understand)(const JSON& fields);
};

constexpr Kind kKinds[] = {
    {"input", input},       {"toggle", toggle}, {"choose", choose},
    {"press", press},       {"select", select}, {"cancel", cancel},
    {"back", back},         {"retry", retry},   {"dismissAlert", dismissAlert},
    {"sdk", sdk},           {"post", post},     {"wait", wait},
    {"snapshot", snapshot}, {"quit", quit},
};

What understand(std::string_view name, const JSON& fields) {
  for (const Kind& kind : kKinds) {
    if (kind.name != name) continue;
    try {
      return kind.understand(fields);
    } catch (const FieldError& error) {
      return Command::Unsound{error.what()};
    }
  }
  return Command::Unsound{"there is no such command"};
}

}  // namespace

Command Command::parse(const std::optional<std::string>& line) {
  if (!line) return {std::nullopt, Unsound{"the line is too long"}};
  const auto fields = JSON::parse(*line).value;
  if (!fields.isObject()) return {std::nullopt, Unsound{"the line is no JSON object"}};
  const auto name = fields["do"].text();
  if (!name) return {std::nullopt, Unsound{"\"do\" must be a text"}};
  return {std::string(*name), understand(*name, fields)};
}

}  // namespace veltrane::tool
