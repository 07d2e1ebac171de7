#pragma once

#include <QColor>
#include <QString>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/toolkit/color.h"

// Values of the core as Qt's own.

namespace veltrane::qtquick {

inline QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline QString toQString(const std::string& text) {
  return QString::fromStdString(text);
}

inline QString toQString(const std::optional<std::string>& text) {
  return text ? toQString(*text) : QString();
}

inline QColor toQColor(const Color& color) {
  const auto channel = [](double value) { return static_cast<float>(value); };
  return QColor::fromRgbF(channel(color.red), channel(color.green), channel(color.blue),
                          channel(color.alpha));
}

/// Invalid when nothing has set the colour.
inline QColor toQColor(const std::optional<Color>& color) {
  return color ? toQColor(*color) : QColor();
}

}  // namespace veltrane::qtquick
