#include "veltrane/ui/cells/label_table_view_cell.h"

namespace veltrane {
namespace {

Font fontFor(std::string_view variant) {
  if (variant == "title") return {.size = 20.0, .bold = true};
  if (variant == "subTitle") return {.size = 17.0};
  return {.size = 14.0};
}

std::optional<TextAlignment> alignmentFor(std::string_view word) {
  if (word == "left") return TextAlignment::left;
  if (word == "right") return TextAlignment::right;
  if (word == "center") return TextAlignment::center;
  return std::nullopt;
}

}  // namespace

void LabelTableViewCell::configure(const JSON& text, const std::optional<JSON>& props) {
  label.textColor = themeColor("labelTextColor");
  label.alignment = alignmentFor(textProp(props, "alignment").value_or(""));
  label.font = fontFor(textProp(props, "variant").value_or(""));
  if (const auto color = textProp(props, "color")) label.textColor = Color::fromHex(*color);
  label.text = text.asText();
  changed();
}

}  // namespace veltrane
