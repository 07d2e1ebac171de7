#include "veltrane/ui/cells/dropdown_table_view_cell.h"

#include "veltrane/toolkit/alert_controller.h"

namespace veltrane {
namespace {

/// A choice's title; nothing for kinds that are no choice.
std::optional<std::string> optionTitle(const JSON& option) {
  switch (option.kind()) {
    case JSON::Kind::text:
      return option.textValue();
    case JSON::Kind::integer:
    case JSON::Kind::real:
      return option.shortestDecimal();
    case JSON::Kind::boolean:
      return option.boolean() == true ? "true" : "false";
    default:
      return std::nullopt;
  }
}

std::vector<std::string> optionTitles(const JSON& options) {
  std::vector<std::string> titles;
  for (std::size_t i = 0; i < options.size(); ++i) {
    if (auto title = optionTitle(options[i])) titles.push_back(std::move(*title));
  }
  return titles;
}

}  // namespace

DropdownTableViewCell::DropdownTableViewCell() {
  dropdownValueButton.cornerRadius = 8.0;
  dropdownValueButton.borderWidth = 1.0;
  dropdownValueButton.borderColor = Color::fromHex("#cccccc");
}

bool DropdownTableViewCell::offers(const std::optional<JSON>& props, const JSON& value) {
  const auto choice = value.text().value_or("");
  if (!props || choice.empty()) return false;
  const JSON options = (*props)["options"];
  for (std::size_t i = 0; i < options.size(); ++i) {
    const JSON option = options[i];
    // Most choices are texts, which need not be copied to be compared.
    const auto text = option.text();
    if (text ? *text == choice : optionTitle(option) == choice) return true;
  }
  return false;
}

void DropdownTableViewCell::configure(const JSON& value, const std::optional<JSON>& props) {
  configureCaption(dropdownLabel, props);
  displayName = dropdownLabel.text.value_or("");
  dropdownValueButton.title = "Select " + displayName;
  options = props ? optionTitles((*props)["options"]) : std::vector<std::string>();
  if (offers(props, value)) choose(value.textValue());
  changed();
}

void DropdownTableViewCell::dropdownButtonPressed() {
  const auto screen = fromViewConroller.lock();
  if (!screen) return;
  const auto sheet =
      std::make_shared<AlertController>(std::nullopt, std::nullopt, AlertStyle::actionSheet);
  const auto weak =
      std::weak_ptr(std::static_pointer_cast<DropdownTableViewCell>(shared_from_this()));
  for (const std::string& option : options) {
    sheet->addAction(
        {.title = option, .style = AlertActionStyle::defaultStyle, .handler = [weak, option] {
           if (const auto cell = weak.lock()) cell->choose(option);
         }});
  }
  sheet->addAction({.title = "Dismiss", .style = AlertActionStyle::cancel, .handler = {}});
  screen->present(sheet, true);
}

void DropdownTableViewCell::choose(const std::string& option) {
  dropdownValueButton.title = option;
  hasChoice = true;
  const auto listener = delegate.lock();
  if (listener && indexPath) listener->optionSelected(option, *indexPath);
  changed();
}

}  // namespace veltrane
