#include "platform/qtquick/variants.h"

#include <QJSValue>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QMetaType>

#include "platform/qtquick/convert.h"

namespace veltrane::qtquick {
namespace {

constexpr std::nullptr_t kNull = nullptr;

QVariant orNull(const std::optional<std::string>& text) {
  return text ? QVariant(toQString(*text)) : QVariant::fromValue(kNull);
}

/// QML hands objects over as script values when a property is declared as "var".
QVariant plain(const QVariant& value) {
  return value.metaType() == QMetaType::fromType<QJSValue>() ? value.value<QJSValue>().toVariant()
                                                             : value;
}

}  // namespace

QVariant toVariant(const JSON& value) {
  // Through an array, because not every Qt reads a bare text or number as a document.
  const auto text = JSON::array({value}).serialized();
  if (!text) return QVariant::fromValue(kNull);
  const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(*text));
  return document.toVariant().toList().value(0);
}

QVariantMap toVariantMap(const VeltraneFlowError& error) {
  const auto& code = error.httpResponseCode;
  return {
      {"reason", toQString(error.reasonName())},
      {"description", toQString(error.errorDescription())},
      {"message", orNull(error.message)},
      {"code", orNull(error.code)},
      {"httpResponseCode",
       code ? QVariant(static_cast<qlonglong>(*code)) : QVariant::fromValue(kNull)},
      {"details", error.details ? toVariant(*error.details) : QVariant::fromValue(kNull)},
  };
}

JSON toJSON(const QVariant& value) {
  const QVariantMap wrapped{{"value", plain(value)}};
  const auto text = QJsonDocument(QJsonObject::fromVariantMap(wrapped)).toJson();
  const auto parsed = JSON::parse({text.constData(), static_cast<std::size_t>(text.size())});
  return parsed.value["value"];
}

std::optional<Dictionary> toDictionary(const QVariant& value) {
  const JSON object = toJSON(value);
  if (!object.isObject()) return std::nullopt;
  Dictionary entries;
  object.forEachMember(
      [&](std::string_view name, const JSON& member) { entries.set(name, member); });
  return entries;
}

std::optional<VTTheme> toTheme(const QVariant& value) {
  const JSON object = toJSON(value);
  if (!object.isObject()) return std::nullopt;
  VTTheme theme;
  const auto read = [&](const char* name, std::string& field) {
    if (const auto text = object[name].text()) field = *text;
  };
  read("backgroundColor", theme.backgroundColor);
  read("labelTextColor", theme.labelTextColor);
  read("buttonTextColor", theme.buttonTextColor);
  read("buttonBackgroundColor", theme.buttonBackgroundColor);
  return theme;
}

}  // namespace veltrane::qtquick
