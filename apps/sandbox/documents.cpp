#include "apps/sandbox/documents.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::string_view kOpen = "${";

std::string textAt(const json& object, const char* key) {
  const auto entry = object.find(key);
  return entry != object.end() && entry->is_string() ? entry->get<std::string>() : std::string();
}

bool hasText(const json& object, const char* key) {
  const auto entry = object.find(key);
  return entry != object.end() && entry->is_string();
}

// The depth of an answer is bounded when its file is read.
void collectConnections(const json& node, DocumentIds& ids) {
  if (node.is_object() && hasText(node, "connectionId") && hasText(node, "capabilityName")) {
    std::pair pair(textAt(node, "connectionId"), textAt(node, "capabilityName"));
    auto& known = ids.connections;
    if (std::find(known.begin(), known.end(), pair) == known.end()) {
      known.push_back(std::move(pair));
    }
  }
  if (!node.is_structured()) return;
  for (const json& child : node) collectConnections(child, ids);
}

DocumentIds idsOf(const json& document) {
  DocumentIds ids{.interactionId = textAt(document, "interactionId"),
                  .companyId = textAt(document, "companyId"),
                  .id = textAt(document, "id"),
                  .connections = {}};
  collectConnections(document, ids);
  return ids;
}

bool isDocument(const json& value) {
  return value.is_object() && hasText(value, "interactionId");
}

std::optional<std::string> valueOf(std::string_view name, const PlaceholderValues& values) {
  if (name == "interactionId") return values.interactionId;
  if (name == "companyId") return values.companyId;
  if (name == "flowId") return values.flowId;
  return std::nullopt;
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

template <typename Escape>
std::string replaced(const std::string& text, const PlaceholderValues& values,
                     const Escape& escape) {
  std::string result;
  std::size_t done = 0;
  eachPlaceholder(text, [&](std::string_view name, std::size_t begin, std::size_t end) {
    const auto value = valueOf(name, values);
    if (!value) return;
    result.append(text, done, begin - done).append(escape(*value));
    done = end;
  });
  return result.append(text, done, text.npos);
}

std::string escapedForJson(const std::string& value) {
  const std::string quoted = json(value).dump(-1, ' ', false, json::error_handler_t::replace);
  return quoted.substr(1, quoted.size() - 2);
}

}  // namespace

std::vector<DocumentIds> documentsIn(const json& answer) {
  std::vector<DocumentIds> documents;
  if (isDocument(answer)) documents.push_back(idsOf(answer));
  if (answer.is_object() && answer.contains("screen") && isDocument(answer["screen"])) {
    documents.push_back(idsOf(answer["screen"]));
  }
  return documents;
}

std::string unknownPlaceholder(const std::string& jsonText) {
  std::string unknown;
  eachPlaceholder(jsonText, [&](std::string_view name, std::size_t, std::size_t) {
    if (unknown.empty() && !valueOf(name, {})) unknown = name;
  });
  return unknown;
}

std::string filled(const std::string& jsonText, const PlaceholderValues& values) {
  return replaced(jsonText, values, escapedForJson);
}

DocumentIds filled(DocumentIds ids, const PlaceholderValues& values) {
  const auto fill = [&](std::string& text) {
    text = replaced(text, values, [](const std::string& value) { return value; });
  };
  for (std::string* text : {&ids.interactionId, &ids.companyId, &ids.id}) fill(*text);
  for (auto& [connection, capability] : ids.connections) {
    fill(connection);
    fill(capability);
  }
  return ids;
}

}  // namespace veltrane::sandbox
