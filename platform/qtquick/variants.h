#pragma once

#include <QVariant>
#include <optional>

#include "veltrane/base/dictionary.h"
#include "veltrane/base/json.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/flow/vt_theme.h"

// What passes between a QML host and the core.

namespace veltrane::qtquick {

QVariant toVariant(const JSON& value);
/// `reason`, `description`, `message`, `code`, `httpResponseCode`, `details`; null where not known.
QVariantMap toVariantMap(const VeltraneFlowError& error);

/// From any value QML can hold; what JSON has no form for is null.
JSON toJSON(const QVariant& value);
/// Nothing when the value is no object.
std::optional<Dictionary> toDictionary(const QVariant& value);
std::optional<VTTheme> toTheme(const QVariant& value);

}  // namespace veltrane::qtquick
