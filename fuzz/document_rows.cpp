// A server's text as a flow document: its rows, their cells, and the same text again as the answer
// to whatever the screens send.
#include "fuzz/world.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace {

using namespace veltrane;

constexpr std::size_t kSteps = 4;
constexpr MainQueue::Interval kBetweenSteps{2'000};  // lets timers and polls fall due

void requireRows(const JSON& document) {
  const UserViewProps props = GenericViewModel::getUserViewProps(document);
  for (std::size_t i = 0; i < props.size(); ++i) {
    const auto model = ScreensViewModel::make(props[i], i);
    for (const CellProperties& row : model->records) fuzz::require(!name(row.type).empty());
    fuzz::require(model->getNextEventProps({}).size() == 5);
    fuzz::require(model->getOnLoadEventProps({}).size() == 5);
    fuzz::require(model->getPostProcessEventProps({}).size() == 5);
  }
}

/// Looks at every row, enters something where that is possible, and presses the button.
void use(ScreenTemplate1VC& screen) {
  for (std::size_t row = 0; row < screen.mainTableView.numberOfRows(); ++row) {
    const auto cell = screen.mainTableView.cell(row);
    if (auto* field = dynamic_cast<TextFieldTableViewCell*>(cell.get())) {
      field->textFieldDidChange("typed");
    }
  }
  screen.buttonPressed();
}

/// Answers what waits for one; answering may send more, which waits for the next time.
void answerAll(testing::FakeTransport& transport, std::string_view text) {
  const auto waiting = transport.exchanges;
  transport.exchanges.clear();
  for (const auto& exchange : waiting) exchange->finish(HTTPResponse{200, std::string(text)});
}

struct Outcome final : VeltraneFlowDelegate {
  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override {
    fuzz::require(response.has_value() != error.has_value());
    if (error) (void)error->errorDescription();
  }
};

void runFlow(fuzz::World& world, std::string_view text) {
  const auto window = std::make_shared<HostViewController>();
  const auto flow = VTFlow::make({"key", "rp", "https://rp", "company", 30, std::nullopt, false});
  flow->delegate = std::make_shared<Outcome>();
  flow->runFlow({.flowId = "flow", .fromViewController = window});
  for (std::size_t step = 0; step < kSteps; ++step) {
    world.mainQueue->run();
    answerAll(*world.transport, text);
    world.mainQueue->advance(kBetweenSteps);
    const auto stack =
        std::dynamic_pointer_cast<NavigationController>(window->presentedViewController());
    const auto top = stack ? stack->topViewController() : nullptr;
    if (const auto screen = std::dynamic_pointer_cast<ScreenTemplate1VC>(top)) use(*screen);
  }
  window->dismiss(false);
  if (const auto stack = window->presentedViewController()) stack->dismiss(false);
  world.mainQueue->run();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::asText(data, size);
  fuzz::World world;
  const JSONParseResult document = JSON::parse(text);
  if (document.ok()) {
    fuzz::requireRoundTrip(document.value);
    requireRows(document.value);
  }
  runFlow(world, text);
  return 0;
}
