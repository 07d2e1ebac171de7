#include "platform/qtquick/words.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <string_view>

#include "platform/qtquick/convert.h"

namespace veltrane::qtquick {
namespace {

constexpr std::array kWords = {
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Allow"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Dismiss"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Do not allow"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Faces cannot be found on this device."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Loading flow..."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "No response found"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "No response from server..."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "OK"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "The camera has stopped."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "The camera gives no pictures that can be used."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "The camera is not available."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "The camera is used by another program."),
    QT_TRANSLATE_NOOP("Veltrane.Flow",
                      "The camera shows nothing. Another program may be using it."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "The camera was disconnected."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "There is no way to sign in here at the moment."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "This method is not available."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "This program may not use the camera."),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Unable to scan for document"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Veltrane Flow"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Your identity cannot be verified on this device."),
};

/// With a name that the document gives or that is a vendor's, or the number of an error.
constexpr std::array kPhrases = {
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Failed with error %1"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Please input %1"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "Select %1"),
    QT_TRANSLATE_NOOP("Veltrane.Flow", "This step needs the camera. Allow %1 to use it?"),
};

/// What `text` has in the place of the phrase's "%1"; nothing when it is not the phrase.
std::optional<std::string_view> nameIn(std::string_view text, std::string_view phrase) {
  const auto at = phrase.find("%1");
  const auto before = phrase.substr(0, at);
  const auto after = phrase.substr(at + 2);
  const bool fits = text.size() >= before.size() + after.size() && text.starts_with(before) &&
                    text.ends_with(after);
  if (!fits) return std::nullopt;
  return text.substr(before.size(), text.size() - before.size() - after.size());
}

QString lookUp(const char* word) {
  return QCoreApplication::translate(kTranslationContext, word);
}

}  // namespace

QString translated(const std::optional<std::string>& text) {
  if (!text) return {};
  if (std::find(kWords.begin(), kWords.end(), std::string_view(*text)) != kWords.end()) {
    return lookUp(text->c_str());
  }
  for (const char* phrase : kPhrases) {
    if (const auto name = nameIn(*text, phrase)) return lookUp(phrase).arg(toQString(*name));
  }
  return toQString(*text);
}

QString translatedPhrase(const std::string& text) {
  if (text.empty()) return {};
  static const QRegularExpression kNumber(QStringLiteral("[0-9]+"));
  QString phrase = toQString(text);
  const auto number = kNumber.match(phrase);
  if (!number.hasMatch()) return lookUp(text.c_str());
  const QString value = number.captured();
  phrase.replace(number.capturedStart(), value.size(), QStringLiteral("%1"));
  return lookUp(phrase.toUtf8().constData()).arg(value);
}

}  // namespace veltrane::qtquick
