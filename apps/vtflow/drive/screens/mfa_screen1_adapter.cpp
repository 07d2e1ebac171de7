#include "apps/vtflow/drive/screens/mfa_screen1_adapter.h"

#include <string>
#include <utility>

#include "apps/vtflow/drive/cell_describers.h"
#include "apps/vtflow/drive/event.h"
#include "veltrane/ui/mfa_screen1_vc.h"

namespace veltrane::tool {

MfaScreen1Adapter::MfaScreen1Adapter(const std::shared_ptr<MfaScreen1VC>& screen,
                                     ScreenListener listener)
    : ScreenAdapter(screen),
      screen_(screen),
      rows_(
          [this](std::size_t row) -> Dictionary {
            const auto alive = screen_.lock();
            return alive ? describeRow(alive->authListTableView, row) : Dictionary();
          },
          std::move(listener.rowChanged)) {}

Dictionary MfaScreen1Adapter::describe() {
  const auto screen = screen_.lock();
  if (!screen) return {};
  return {{"navigationTitle", textValue(screen->navigationItem.title)},
          {"rows", rows_.describeAll(screen->authListTableView)}};
}

Refusal MfaScreen1Adapter::select(std::size_t row) {
  const auto screen = screen_.lock();
  if (!screen || row >= screen->records.size()) {
    return "there is no method in row " + std::to_string(row);
  }
  screen->didSelectRow(IndexPath{row});
  return std::nullopt;
}

Refusal MfaScreen1Adapter::cancel() {
  if (const auto screen = screen_.lock()) screen->cancelPressed();
  return std::nullopt;
}

}  // namespace veltrane::tool
