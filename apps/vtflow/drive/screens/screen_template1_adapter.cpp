#include "apps/vtflow/drive/screens/screen_template1_adapter.h"

#include <algorithm>
#include <utility>

#include "apps/vtflow/drive/cell_describers.h"
#include "apps/vtflow/drive/event.h"
#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace veltrane::tool {
namespace {

JSON marginsValue(const EdgeInsets& margins) {
  return Dictionary{{"top", JSON(margins.top)},
                    {"left", JSON(margins.left)},
                    {"bottom", JSON(margins.bottom)},
                    {"right", JSON(margins.right)}};
}

const CellProperties* record(const ScreenTemplate1VC& screen, std::size_t row) {
  const auto* const model = screen.viewModel.get();
  return model && row < model->records.size() ? &model->records[row] : nullptr;
}

template <typename Cell>
bool isRow(ScreenTemplate1VC& screen, std::size_t row, const RowName& name) {
  const auto* const properties = record(screen, row);
  if (name.key && (!properties || properties->key != name.key)) return false;
  return dynamic_cast<Cell*>(screen.mainTableView.cell(row).get()) != nullptr;
}

/// The row that is named, if it is of the class; the first of the class when none is named.
template <typename Cell>
std::shared_ptr<Cell> find(ScreenTemplate1VC& screen, const RowName& name) {
  auto& table = screen.mainTableView;
  const auto count = table.numberOfRows();
  const auto first = name.index.value_or(0);
  const auto end = name.index ? std::min(count, first + 1) : count;
  for (auto row = first; row < end; ++row) {
    if (isRow<Cell>(screen, row, name)) return std::static_pointer_cast<Cell>(table.cell(row));
  }
  return nullptr;
}

std::string noSuchRow(const RowName& name, const char* kind) {
  const std::string text = std::string("there is no ") + kind;
  if (name.key) return text + " of the key \"" + *name.key + '"';
  if (name.index) return text + " in row " + std::to_string(*name.index);
  return text + " on this screen";
}

/// The sheet that `screen` has just opened.
std::shared_ptr<AlertController> openSheet(const ScreenTemplate1VC& screen) {
  const auto sheet = std::dynamic_pointer_cast<AlertController>(screen.presentedViewController());
  return sheet && sheet->style() == AlertStyle::actionSheet ? sheet : nullptr;
}

void pick(AlertController& sheet, const std::string& option) {
  const auto& actions = sheet.actions();
  const auto found = std::find_if(actions.begin(), actions.end(), [&](const AlertAction& action) {
    return action.style == AlertActionStyle::defaultStyle && action.title == option;
  });
  if (found == actions.end()) return sheet.cancel();
  sheet.select(static_cast<std::size_t>(found - actions.begin()));
}

}  // namespace

ScreenTemplate1Adapter::ScreenTemplate1Adapter(const std::shared_ptr<ScreenTemplate1VC>& screen,
                                               ScreenListener listener)
    : ScreenAdapter(screen),
      screen_(screen),
      listener_(std::move(listener)),
      rows_([this](std::size_t row) { return describeFormRow(row); }, listener_.rowChanged) {
  changes_ = screen->changed.subscribe([this] { listener_.loadingChanged(); });
  reloads_ = screen->mainTableView.reloaded.subscribe([this] {
    if (rows_.wereDescribed()) listener_.contentReplaced();
  });
}

Dictionary ScreenTemplate1Adapter::describe() {
  const auto screen = screen_.lock();
  if (!screen) return {};
  const auto* const model = screen->viewModel.get();
  const auto& item = screen->navigationItem;
  return {{"userViewIndex", screen->userViewIndex ? countValue(*screen->userViewIndex) : JSON()},
          {"template", model ? textValue(model->screenTemplateName) : JSON()},
          {"title", textValue(screen->title)},
          {"navigationTitle", textValue(item.title)},
          {"fullScreen", JSON(model && model->fullScreenMode)},
          {"background", colorValue(screen->view.backgroundColor)},
          {"navbarBackground", colorValue(item.barTintColor)},
          {"navbarText", colorValue(item.tintColor)},
          {"margins", marginsValue(screen->margins)},
          {"rows", rows_.describeAll(screen->mainTableView)}};
}

Dictionary ScreenTemplate1Adapter::describeFormRow(std::size_t row) const {
  const auto screen = screen_.lock();
  if (!screen) return {};
  auto fields = describeRow(screen->mainTableView, row);
  if (const auto* const properties = record(*screen, row)) {
    fields.set("type", JSON(name(properties->type)));
    fields.set("key", textValue(properties->key));
  }
  return fields;
}

bool ScreenTemplate1Adapter::isLoading() const {
  const auto screen = screen_.lock();
  return screen && !screen->loading.isHidden;
}

bool ScreenTemplate1Adapter::isWorking() const {
  const auto screen = screen_.lock();
  return screen && screen->isPolling();
}

template <typename Cell, typename Act>
Refusal ScreenTemplate1Adapter::act(const RowName& name, const char* kind, Act act) {
  const auto screen = screen_.lock();
  const auto cell = screen ? find<Cell>(*screen, name) : nullptr;
  if (!cell) return noSuchRow(name, kind);
  return act(*screen, *cell);
}

Refusal ScreenTemplate1Adapter::input(const RowName& row, const std::string& text) {
  return act<TextFieldTableViewCell>(row, "text field", [&](auto&, auto& cell) -> Refusal {
    cell.textFieldDidChange(text);
    return std::nullopt;
  });
}

Refusal ScreenTemplate1Adapter::toggle(const RowName& row, bool on) {
  return act<ToggleSwitchTableViewCell>(row, "switch", [&](auto&, auto& cell) -> Refusal {
    cell.switchValueChanged(on);
    return std::nullopt;
  });
}

Refusal ScreenTemplate1Adapter::choose(const RowName& row, const std::string& option) {
  return act<DropdownTableViewCell>(row, "dropdown", [&](auto& screen, auto& cell) -> Refusal {
    const auto& options = cell.options;
    const bool isOption = std::find(options.begin(), options.end(), option) != options.end();
    if (!isOption && option != "Dismiss") return "the dropdown has no such option";
    cell.dropdownButtonPressed();
    const auto sheet = openSheet(screen);
    if (!sheet) return "the dropdown did not open";
    if (option == "Dismiss") {
      sheet->cancel();
    } else {
      pick(*sheet, option);
    }
    return std::nullopt;
  });
}

Refusal ScreenTemplate1Adapter::press(std::optional<std::size_t> row) {
  const RowName name{.key = std::nullopt, .index = row};
  return act<ButtonTableViewCell>(name, "button", [](auto&, auto& cell) -> Refusal {
    cell.buttonPressed();
    return std::nullopt;
  });
}

Refusal ScreenTemplate1Adapter::cancel() {
  if (const auto screen = screen_.lock()) screen->cancelPressed();
  return std::nullopt;
}

}  // namespace veltrane::tool
