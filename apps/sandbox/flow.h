#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veltrane::sandbox {

/// The ids by which the events of a flow document name it; empty where the document has none.
struct DocumentIds {
  std::string interactionId;
  std::string companyId;
  std::string id;
  /// Every pair of "connectionId" and "capabilityName" anywhere in the document: its own, and those
  /// of the methods it offers.
  std::vector<std::pair<std::string, std::string>> connections;

  bool operator==(const DocumentIds&) const = default;
};

/// What a rule answers with.
struct Reply {
  enum class Body {
    text,     ///< `text` as it stands, with its placeholders filled in.
    padding,  ///< A JSON object of exactly `size` bytes.
    nesting,  ///< A JSON object nested `size` deep.
  };

  int status = 200;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string contentType = "application/json";
  Body body = Body::text;
  std::string text;
  std::size_t size = 0;
  /// The flow documents that the text holds, placeholders and all.
  std::vector<DocumentIds> documents;

  std::chrono::milliseconds delay{0};
  bool noAnswer = false;
  bool closeConnection = false;
  std::optional<std::size_t> cutAfterBytes;
};

/// One thing that a rule asks of a request's body.
struct Condition {
  enum class Test { equals, differs, missing, present, startsWith };

  std::vector<std::string> path;
  Test test = Test::equals;
  nlohmann::json value;

  bool holds(const nlohmann::json& body) const;
};

struct Rule {
  std::vector<Condition> when;  ///< All must hold; none: always.
  Reply reply;
};

using Rules = std::vector<Rule>;

/// The first rule whose conditions all hold, or null.
const Rule* firstMatch(const Rules& rules, const nlohmann::json& body);

/// A flow as its file tells it.
struct Flow {
  Rules start;
  std::map<std::string, Rules> events;  ///< By "eventName".
};

/// Reads the text of a flow file. Throws std::invalid_argument that names the place and what is
/// wrong there.
std::shared_ptr<const Flow> readFlow(const std::string& jsonText);

}  // namespace veltrane::sandbox
