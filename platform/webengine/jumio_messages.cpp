#include "platform/webengine/jumio_messages.h"

#include <algorithm>
#include <iterator>

#include "veltrane/base/json.h"

namespace veltrane::webengine {
namespace {

/// The one kind of event that the client's pages send.
constexpr std::int64_t kEventType = 510;

struct Words {
  std::string_view code;
  std::string_view words;
};

constexpr Words kCodes[] = {
    {"9100", "the vendor's server failed"},
    {"9200", "the vendor's token is missing, invalid or has expired"},
    {"9210", "the session has expired"},
    {"9300", "a picture could not be sent"},
    {"9400", "a step of the verification failed"},
    {"9800", "there is no network"},
    {"9801", "something unexpected happened in the vendor's page"},
    {"9810", "the vendor's page cannot talk to its server"},
    {"9820", "there is no camera, and no file to take instead"},
    {"9835", "three attempts gave nothing that can be accepted"},
};

std::optional<JumioValue> valueOf(std::string_view text) {
  if (text == "loaded") return JumioValue::loaded;
  if (text == "success") return JumioValue::success;
  if (text == "error") return JumioValue::error;
  return std::nullopt;
}

// What a page says reaches the host's console: a code, and no words of anybody's.
std::string codeOf(const std::string& text) {
  const bool isCode = text.size() <= 8 && std::all_of(text.begin(), text.end(), [](char one) {
                        return one >= '0' && one <= '9';
                      });
  return isCode ? text : std::string();
}

}  // namespace

std::optional<JumioMessage> readJumioMessage(std::string_view text,
                                             std::string_view transactionReference) {
  const auto parsed = JSON::parse(text);
  if (!parsed.ok() || parsed.value["eventType"].integer() != kEventType) return std::nullopt;
  if (parsed.value["transactionReference"].text() != transactionReference) return std::nullopt;
  const auto value = valueOf(parsed.value["payload"]["value"].textValue());
  if (!value) return std::nullopt;
  return JumioMessage{*value, codeOf(parsed.value["payload"]["metainfo"]["codeExternal"].asText())};
}

JumioError jumioError(const std::string& code) {
  const auto* const found = std::find_if(std::begin(kCodes), std::end(kCodes),
                                         [&](const Words& one) { return one.code == code; });
  if (found == std::end(kCodes)) return {code, "the vendor's page reported an error"};
  return {code, std::string(found->words)};
}

}  // namespace veltrane::webengine
