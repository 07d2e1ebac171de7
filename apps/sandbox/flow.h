#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
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
    zeros,    ///< `text`, then zeros up to `size` bytes in all.
    endless,  ///< `text`, then zeros for ever, their number not announced.
  };

  int status = 200;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string contentType = "application/json";
  Body body = Body::text;
  std::string text;
  std::size_t size = 0;
  /// The flow documents that the text holds, placeholders and all.
  std::vector<DocumentIds> documents;
  /// The challenges that open when the text goes out, by their names in the flow.
  std::vector<std::string> opens;
  /// The text goes out byte for byte: it is no JSON with placeholders.
  bool verbatim = false;

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
  std::shared_ptr<const nlohmann::json> value;  ///< Empty for missing and present.

  bool holds(const nlohmann::json& body) const;
};

/// What a rule does with passkeys before it answers.
enum class PasskeyStep {
  none,
  creationOptions,  ///< The answer brings options to make a passkey with.
  registration,     ///< The request must bring a right answer to such options.
  requestOptions,   ///< The answer brings options to sign in with.
  assertion,        ///< The request must bring a right answer to those.
};

struct Rule {
  std::vector<Condition> when;  ///< All must hold; none: always.
  /// Names of challenges of the run, each with the state that it must have.
  std::map<std::string, std::string> challenges;
  /// Whether the user whom the request names must have a passkey, or must have none.
  std::optional<bool> hasPasskey;
  PasskeyStep passkey = PasskeyStep::none;
  /// The request must bring a picture of a face, which is shown from then on.
  bool facePicture = false;
  Reply reply;
};

using Rules = std::vector<Rule>;

/// The state of the run's challenge of that name; empty when none has been opened.
using ChallengeStates = std::function<std::string(const std::string& name)>;

/// Whether the user of the request has a passkey.
using HasPasskey = std::function<bool()>;

/// The first rule whose conditions all hold, or null.
const Rule* firstMatch(const Rules& rules, const nlohmann::json& body,
                       const ChallengeStates& states, const HasPasskey& hasPasskey);

/// What a few questions for a challenge's status are answered with.
struct StatusStep {
  std::size_t times = 1;
  std::optional<Reply> reply;  ///< None: the truth.
};

/// A challenge that an answer of the flow may open.
struct ChallengePlan {
  struct SelfAnswer {
    bool approves;
    std::chrono::milliseconds after;
  };

  std::string purpose;  ///< What it is for, to be read on the second device; has placeholders.
  std::chrono::milliseconds openFor{std::chrono::minutes(5)};
  std::optional<SelfAnswer> answersItself;
  std::vector<StatusStep> status;  ///< One after the other; behind them always the truth.
};

/// Who passkeys are for, and where they may be used.
struct RelyingPartyPlan {
  std::string id = "localhost";
  std::string name = "Sandbox";
  std::vector<std::string> origins{"https://localhost", "${serverURL}"};  ///< With placeholders.
};

/// A flow as its file tells it.
struct Flow {
  Rules start;
  std::map<std::string, Rules> events;  ///< By "eventName".
  std::map<std::string, ChallengePlan> challenges;
  RelyingPartyPlan relyingParty;
};

/// Reads the text of a flow file. Throws std::invalid_argument that names the place and what is
/// wrong there.
std::shared_ptr<const Flow> readFlow(const std::string& jsonText);

}  // namespace veltrane::sandbox
