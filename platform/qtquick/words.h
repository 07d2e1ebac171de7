#pragma once

#include <QString>
#include <optional>
#include <string>

namespace veltrane::qtquick {

/// Under what a translator finds the library's own words. A host that speaks another language
/// installs a QTranslator for them before its first flow; docs/translating.md lists them.
inline constexpr const char* kTranslationContext = "Veltrane.Flow";

/// What the core wants to say, in the user's language if a translator knows it. Looked up is what
/// the library itself says; other words of a server are handed on as they are.
QString translated(const std::optional<std::string>& text);

/// For what the library alone says, a passkey's panel for one: any words are looked up. A number
/// in them is looked up as "%1".
QString translatedPhrase(const std::string& text);

}  // namespace veltrane::qtquick
