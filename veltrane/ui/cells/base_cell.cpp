#include "veltrane/ui/cells/base_cell.h"

#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane {

std::optional<Color> BaseCell::themeColor(std::string_view name) {
  const auto theme = UserDefaultsManager::getUITheme();
  if (!theme) return std::nullopt;
  const auto color = theme->find(name);
  return color == theme->end() ? std::nullopt : std::optional(Color::fromHex(color->second));
}

void BaseCell::configureCaption(Label& caption, const std::optional<JSON>& props) {
  caption.textColor = themeColor("labelTextColor");
  if (auto name = textProp(props, "displayName")) caption.text = std::move(name);
  if (const auto color = textProp(props, "color")) caption.textColor = Color::fromHex(*color);
}

std::optional<std::string> textProp(const std::optional<JSON>& props, std::string_view key) {
  if (!props) return std::nullopt;
  const auto text = (*props)[key].text();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace veltrane
