// A server's text as a document with a list of methods: its rows, and the screens of each method.
#include "fuzz/flow_run.h"
#include "veltrane/ui/cells/mfa_table_view_cell.h"
#include "veltrane/ui/mfa_screen1_vc.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace {

using namespace veltrane;

void requireMethods(const JSON& flow) {
  for (std::size_t screen = 0; screen < 3; ++screen) {
    const auto methods =
        MfaScreen1ViewModel::getAuthenticationMethods({.flow = flow, .activeScreen = screen});
    for (std::size_t i = 0; i < methods.size(); ++i) {
      fuzz::require(methods[i].index == i);
      fuzz::require(!methods[i].imageURL || !methods[i].imageURL->empty());
      for (const Dictionary& view : *methods[i].userViewProps) {
        fuzz::require(view["connectionId"].text().has_value());
        fuzz::require(view["capabilityName"].text().has_value());
      }
    }
  }
}

/// Looks at all rows, some of which scroll out of sight, and picks the one that `turn` falls on.
void pick(MfaScreen1VC& screen, std::size_t turn) {
  fuzz::require(screen.records.empty() == screen.emptyLabel.text.has_value());
  for (std::size_t row = 0; row < screen.records.size(); ++row) {
    const auto cell = screen.authListTableView.cell(row);
    fuzz::require(dynamic_cast<MFATableViewCell*>(cell.get()) != nullptr);
    if (row % 3 == 1) cell->didEndDisplaying();
  }
  if (!screen.records.empty()) screen.didSelectRow(IndexPath{turn % screen.records.size()});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::asText(data, size);
  fuzz::World world;
  if (const JSONParseResult flow = JSON::parse(text); flow.ok()) requireMethods(flow.value);
  fuzz::runFlow(world, text, [size](ViewController& top) {
    if (auto* methods = dynamic_cast<MfaScreen1VC*>(&top)) return pick(*methods, size);
    auto* screen = dynamic_cast<ScreenTemplate1VC*>(&top);
    if (!screen) return;
    for (std::size_t row = 0; row < screen->mainTableView.numberOfRows(); ++row) {
      screen->mainTableView.cell(row);
    }
    screen->buttonPressed();
  });
  return 0;
}
