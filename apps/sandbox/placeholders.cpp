#include "apps/sandbox/placeholders.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "apps/sandbox/pictures/encoders.h"
#include "apps/sandbox/pictures/picture_file.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::string_view kOpen = "${";
constexpr std::string_view kChallenge = "challenge:";
constexpr std::string_view kPicture = "picture:";
constexpr std::string_view kQr = "qr:";

std::optional<std::string> valueOf(std::string_view name, const PlaceholderValues& values) {
  if (name == "interactionId") return values.interactionId;
  if (name == "companyId") return values.companyId;
  if (name == "flowId") return values.flowId;
  if (name == "serverURL") return values.serverURL;
  if (!name.starts_with(kChallenge)) return std::nullopt;
  const auto id = values.challenges.find(std::string(name.substr(kChallenge.size())));
  if (id == values.challenges.end()) return std::nullopt;
  return id->second;
}

/// Calls `visit(name, begin, end)` for each placeholder of the text, in order.
template <typename Visit>
void eachPlaceholder(std::string_view text, const Visit& visit) {
  for (std::size_t begin = text.find(kOpen); begin != text.npos; begin = text.find(kOpen, begin)) {
    const std::size_t close = text.find('}', begin);
    if (close == text.npos) return;
    const std::size_t name = begin + kOpen.size();
    visit(text.substr(name, close - name), begin, close + 1);
    begin = close + 1;
  }
}

/// `value(name)` is what stands there instead; nothing leaves the placeholder as it is.
template <typename Value>
std::string replaced(const std::string& text, const Value& value) {
  std::string result;
  std::size_t done = 0;
  eachPlaceholder(text, [&](std::string_view name, std::size_t begin, std::size_t end) {
    const std::optional<std::string> instead = value(name);
    if (!instead) return;
    result.append(text, done, begin - done).append(*instead);
    done = end;
  });
  return result.append(text, done, text.npos);
}

std::string escapedForJson(const std::string& value) {
  const std::string quoted = json(value).dump(-1, ' ', false, json::error_handler_t::replace);
  return quoted.substr(1, quoted.size() - 2);
}

[[noreturn]] void failUnknown(std::string_view name) {
  throw std::invalid_argument("unknown placeholder ${" + std::string(name) + "}");
}

std::string picture(std::string_view name, const std::string& file) {
  const auto found = pictureFile(file);
  if (!found) failUnknown(name);
  return base64(found->bytes);
}

std::string qr(std::string_view name, const PlaceholderNames& names) {
  const auto text = names.qrCodes.find(std::string(name.substr(kQr.size())));
  if (text == names.qrCodes.end()) failUnknown(name);
  return qrPicture(text->second);
}

bool isKnown(std::string_view name, const PlaceholderNames& names) {
  if (!name.starts_with(kChallenge)) return valueOf(name, {}).has_value();
  const auto& known = names.challenges;
  return std::find(known.begin(), known.end(), name.substr(kChallenge.size())) != known.end();
}

}  // namespace

std::string withPictures(const std::string& jsonText, const PlaceholderNames& names) {
  return replaced(jsonText, [&](std::string_view name) -> std::optional<std::string> {
    if (name.starts_with(kPicture)) {
      return picture(name, std::string(name.substr(kPicture.size())));
    }
    if (name.starts_with(kQr)) return qr(name, names);
    if (!isKnown(name, names)) failUnknown(name);
    return std::nullopt;
  });
}

std::vector<std::string> challengesIn(const std::string& text) {
  std::vector<std::string> names;
  eachPlaceholder(text, [&](std::string_view name, std::size_t, std::size_t) {
    if (!name.starts_with(kChallenge)) return;
    name.remove_prefix(kChallenge.size());
    if (std::find(names.begin(), names.end(), name) == names.end()) names.emplace_back(name);
  });
  return names;
}

std::string filled(const std::string& jsonText, const PlaceholderValues& values) {
  return replaced(jsonText, [&](std::string_view name) {
    auto value = valueOf(name, values);
    if (value) value = escapedForJson(*value);
    return value;
  });
}

std::string filledPlain(const std::string& text, const PlaceholderValues& values) {
  return replaced(text, [&](std::string_view name) { return valueOf(name, values); });
}

}  // namespace veltrane::sandbox
