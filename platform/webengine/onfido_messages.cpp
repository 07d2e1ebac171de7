#include "platform/webengine/onfido_messages.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "veltrane/base/json.h"

namespace veltrane::webengine {
namespace {

std::optional<std::string> textOf(const JSON& value) {
  const auto text = value.text();
  return text && !text->empty() ? std::optional<std::string>(*text) : std::nullopt;
}

// A document is captured from its front first, whatever else it has.
void addDocument(const JSON& document, std::vector<OnfidoResult>& results) {
  const auto add = [&](std::string_view side, const JSON& captured) {
    const auto id = textOf(captured["id"]);
    if (!id) return;
    results.push_back(
        DocumentResult{.id = id, .type = textOf(document["type"]), .side = std::string(side)});
  };
  const JSON sides = document["sides"];
  add("front", sides["front"]);
  sides.forEachMember([&](std::string_view side, const JSON& captured) {
    if (side != "front") add(side, captured);
  });
}

// What has no identifier is nothing that a server could ask the vendor for.
std::vector<OnfidoResult> resultsOf(const JSON& data) {
  std::vector<OnfidoResult> results;
  // By step; the names' order is that in which the steps are taken.
  data.forEachMember([&](std::string_view step, const JSON& captured) {
    const auto id = textOf(captured["id"]);
    if (captured["sides"].isObject()) {
      addDocument(captured, results);
    } else if (id && step.starts_with("document")) {
      results.push_back(DocumentResult{
          .id = id, .type = textOf(captured["type"]), .side = textOf(captured["side"])});
    } else if (id && step == "face") {
      results.push_back(FaceResult{.id = id});
    }
  });
  return results;
}

OnfidoResponse completion(std::vector<OnfidoResult> results) {
  if (!results.empty()) return onfido_response::Success{std::move(results)};
  return onfido_response::Error{{"exception", "the vendor's page gave no results"}};
}

OnfidoCancelReason reasonOf(const JSON& data) {
  return data.text() == "user_exit" ? OnfidoCancelReason::userExit : OnfidoCancelReason::other;
}

}  // namespace

std::optional<OnfidoMessage> readOnfidoMessage(std::string_view text, std::string_view mark) {
  const auto parsed = JSON::parse(text);
  if (!parsed.ok() || parsed.value["veltrane"].text() != mark) return std::nullopt;
  const auto event = parsed.value["event"].textValue();
  const JSON data = parsed.value["data"];
  if (event == "loaded") return OnfidoLoaded{};
  if (event == "unreachable" || event == "broken") return OnfidoMissing{};
  if (event == "complete") return completion(resultsOf(data));
  if (event == "unreadable") return completion({});
  if (event == "exit") return OnfidoResponse(onfido_response::Cancel{reasonOf(data)});
  if (event != "error") return std::nullopt;
  return OnfidoResponse(
      onfido_response::Error{{data["type"].textValue(), data["message"].textValue()}});
}

}  // namespace veltrane::webengine
