#pragma once

#include <optional>

#include "veltrane/base/json.h"
#include "veltrane/engine/cell_properties.h"
#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/table_view.h"

namespace veltrane {

/// A row of the generic screen. Configured once from its record; a user's act is a member function,
/// and what the user sees is in the public fields. Main thread only.
class BaseCell : public TableViewCell {
 public:
  CellType type = CellType::label;

 protected:
  /// A colour of the stored theme by its field name.
  static std::optional<Color> themeColor(std::string_view name);
  /// The "displayName" and "color" of `props`, over the theme's "labelTextColor".
  static void configureCaption(Label& caption, const std::optional<JSON>& props);
};

/// Text under `key` of `props`, if there is one.
std::optional<std::string> textProp(const std::optional<JSON>& props, std::string_view key);

}  // namespace veltrane
