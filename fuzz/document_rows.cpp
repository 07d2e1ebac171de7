// A server's text as a flow document: its rows, their cells, and the same text again as the answer
// to whatever the screens send.
#include "fuzz/flow_run.h"
#include "fuzz/world.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace {

using namespace veltrane;

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
void use(ViewController& top) {
  auto* found = dynamic_cast<ScreenTemplate1VC*>(&top);
  if (!found) return;
  auto& screen = *found;
  for (std::size_t row = 0; row < screen.mainTableView.numberOfRows(); ++row) {
    const auto cell = screen.mainTableView.cell(row);
    if (auto* field = dynamic_cast<TextFieldTableViewCell*>(cell.get())) {
      field->textFieldDidChange("typed");
    }
  }
  screen.buttonPressed();
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
  fuzz::runFlow(world, text, use);
  return 0;
}
