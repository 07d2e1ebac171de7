#include "apps/sandbox/documents.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

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

}  // namespace

std::vector<DocumentIds> documentsIn(const json& answer) {
  std::vector<DocumentIds> documents;
  if (isDocument(answer)) documents.push_back(idsOf(answer));
  if (answer.is_object() && answer.contains("screen") && isDocument(answer["screen"])) {
    documents.push_back(idsOf(answer["screen"]));
  }
  return documents;
}

DocumentIds filled(DocumentIds ids, const PlaceholderValues& values) {
  const auto fill = [&](std::string& text) { text = filledPlain(text, values); };
  for (std::string* text : {&ids.interactionId, &ids.companyId, &ids.id}) fill(*text);
  for (auto& [connection, capability] : ids.connections) {
    fill(connection);
    fill(capability);
  }
  return ids;
}

}  // namespace veltrane::sandbox
