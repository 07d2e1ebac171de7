#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/world.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane::fuzz {

/// Answers what waits for one; answering may send more, which waits for the next time.
inline void answerAll(testing::FakeTransport& transport, std::string_view text) {
  const auto waiting = transport.exchanges;
  transport.exchanges.clear();
  for (const auto& exchange : waiting) exchange->finish(HTTPResponse{200, std::string(text)});
}

struct Outcome final : VeltraneFlowDelegate {
  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override {
    require(response.has_value() != error.has_value());
    if (error) (void)error->errorDescription();
  }
};

/// A flow that gets `text` for every answer. `use` acts as the user on whatever screen is on top.
inline void runFlow(World& world, std::string_view text,
                    const std::function<void(ViewController&)>& use) {
  constexpr std::size_t kSteps = 4;
  constexpr MainQueue::Interval kBetweenSteps{2'000};  // lets timers and polls fall due
  const auto window = std::make_shared<HostViewController>();
  const auto flow = VTFlow::make({"key", "rp", "https://rp", "company", 30, std::nullopt, false});
  flow->delegate = std::make_shared<Outcome>();
  flow->runFlow({.flowId = "flow", .fromViewController = window});
  for (std::size_t step = 0; step < kSteps; ++step) {
    world.mainQueue->run();
    answerAll(*world.transport, text);
    world.pictureQueue->run();
    world.mainQueue->advance(kBetweenSteps);
    const auto stack =
        std::dynamic_pointer_cast<NavigationController>(window->presentedViewController());
    if (const auto top = stack ? stack->topViewController() : nullptr) use(*top);
  }
  window->dismiss(false);
  if (const auto stack = window->presentedViewController()) stack->dismiss(false);
  world.mainQueue->run();
}

}  // namespace veltrane::fuzz
