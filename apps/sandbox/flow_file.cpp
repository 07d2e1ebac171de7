#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "apps/sandbox/documents.h"
#include "apps/sandbox/flow.h"
#include "apps/sandbox/flow_file_node.h"
#include "apps/sandbox/passkeys/options_names.h"
#include "apps/sandbox/placeholders.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::size_t kMaxGenerated = std::size_t{1} << 30;
constexpr std::size_t kMaxDelay = 60 * 60 * 1000;
constexpr std::size_t kMaxExit = 4;
constexpr std::size_t kMaxTimes = 1'000'000;
constexpr std::array<std::string_view, 4> kChallengeStates{"inProgress", "approved", "denied",
                                                           "expired"};
constexpr std::array<std::pair<std::string_view, PasskeyStep>, 4> kPasskeySteps{
    {{"creationOptions", PasskeyStep::creationOptions},
     {"registration", PasskeyStep::registration},
     {"requestOptions", PasskeyStep::requestOptions},
     {"assertion", PasskeyStep::assertion}}};
constexpr std::size_t kSmallestPadding = 14;
constexpr std::string_view kNoJson = "\x01\x9e{\"token\": \xff\xfe ]]>\x7f not an answer";

// ---- conditions

std::vector<std::string> readPath(const std::string& dotted, const Node& when) {
  std::vector<std::string> path(1);
  for (const char c : dotted) {
    if (c == '.') {
      path.emplace_back();
    } else {
      path.back() += c;
    }
  }
  for (const std::string& key : path) {
    if (key.empty()) when.fail("\"" + dotted + "\" is no path of keys with dots between them");
  }
  return path;
}

std::shared_ptr<const json> readScalar(const Node& node) {
  if (node.value().is_structured()) node.fail("must be a text, a number, true, false or null");
  return std::make_shared<const json>(node.value());
}

void readTest(const Node& node, Condition& condition) {
  if (!node.value().is_object()) {
    condition.value = readScalar(node);
    return;
  }
  node.mustHoldOnly({"missing", "not", "startsWith"});
  if (node.value().size() != 1) node.fail("must hold one of missing, not, startsWith");
  if (node.has("missing")) {
    condition.test = node["missing"].flag() ? Condition::Test::missing : Condition::Test::present;
  } else if (node.has("not")) {
    condition.test = Condition::Test::differs;
    condition.value = readScalar(node["not"]);
  } else {
    condition.test = Condition::Test::startsWith;
    condition.value = std::make_shared<const json>(node["startsWith"].text());
  }
}

std::vector<Condition> readWhen(const Node& when) {
  std::vector<Condition> conditions;
  when.eachEntry([&](const std::string& path, const Node& node) {
    Condition condition{.path = readPath(path, when), .value = nullptr};
    readTest(node, condition);
    conditions.push_back(std::move(condition));
  });
  return conditions;
}

// ---- replies

void readAnswer(const Node& answer, const PlaceholderNames& names, Reply& reply) {
  answer.mustBeObject();
  try {
    reply.text = withPictures(answer.value().dump(), names);
  } catch (const std::invalid_argument& error) {
    answer.fail(error.what());
  }
  reply.documents = documentsIn(answer.value());
  reply.opens = challengesIn(reply.text);
}

/// The body that the trouble brings along, if it does; at most one may.
int readTroubleBody(const Node& trouble, Reply& reply) {
  int bodies = 0;
  if (trouble.has("garbage") && trouble["garbage"].flag()) {
    reply.text = kNoJson;
    ++bodies;
  }
  if (trouble.has("bodyBytes")) {
    reply.body = Reply::Body::padding;
    reply.size = trouble["bodyBytes"].number(kSmallestPadding, kMaxGenerated);
    ++bodies;
  }
  if (trouble.has("nesting")) {
    reply.body = Reply::Body::nesting;
    reply.size = trouble["nesting"].number(2, kMaxGenerated / 2);
    ++bodies;
  }
  if (trouble.has("rawBody")) {
    reply.text = trouble["rawBody"].text();
    ++bodies;
  }
  return bodies;
}

/// Answers whether the trouble makes an answer needless.
bool readTrouble(const Node& trouble, Reply& reply) {
  trouble.mustHoldOnly({"delayMs", "noAnswer", "closeConnection", "cutAfterBytes", "garbage",
                        "bodyBytes", "nesting", "rawBody", "contentType"});
  if (trouble.has("delayMs")) {
    reply.delay = std::chrono::milliseconds(trouble["delayMs"].number(0, kMaxDelay));
  }
  reply.noAnswer = trouble.has("noAnswer") && trouble["noAnswer"].flag();
  reply.closeConnection = trouble.has("closeConnection") && trouble["closeConnection"].flag();
  if (trouble.has("cutAfterBytes")) {
    reply.cutAfterBytes = trouble["cutAfterBytes"].number(0, kMaxGenerated);
  }
  if (trouble.has("contentType")) reply.contentType = trouble["contentType"].text();
  const int silent = (reply.noAnswer ? 1 : 0) + (reply.closeConnection ? 1 : 0);
  const int bodies = readTroubleBody(trouble, reply);
  if (bodies + silent > 1) {
    trouble.fail(
        "holds more than one of noAnswer, closeConnection, garbage, bodyBytes, nesting "
        "and rawBody");
  }
  return bodies + silent == 1;
}

void readHeaders(const Node& headers, Reply& reply) {
  headers.eachEntry([&](const std::string& name, const Node& value) {
    const std::string text = value.text();
    if (name.empty() || (name + text).find_first_of("\r\n") != std::string::npos) {
      value.fail("is no header");
    }
    reply.headers.emplace_back(name, text);
  });
}

/// Answers whether there is anything to reply at all.
bool readReply(const Node& node, const PlaceholderNames& names, Reply& reply) {
  if (node.has("status")) reply.status = static_cast<int>(node["status"].number(200, 599));
  if (node.has("headers")) readHeaders(node["headers"], reply);
  const bool answered = node.has("trouble") && readTrouble(node["trouble"], reply);
  if (answered && node.has("answer")) node.fail("its trouble leaves no place for an answer");
  if (node.has("answer")) readAnswer(node["answer"], names, reply);
  const bool mayBeEmpty = reply.status == 204 || reply.status / 100 == 3;
  return answered || node.has("answer") || mayBeEmpty;
}

void readChallengeStates(const Node& states, const PlaceholderNames& names, Rule& rule) {
  states.eachEntry([&](const std::string& name, const Node& state) {
    const auto& known = names.challenges;
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      state.fail("the file has no challenge of this name");
    }
    const std::string text = state.text();
    if (std::find(kChallengeStates.begin(), kChallengeStates.end(), text) ==
        kChallengeStates.end()) {
      state.fail("must be inProgress, approved, denied or expired");
    }
    rule.challenges.emplace(name, text);
  });
}

PasskeyStep readPasskeyStep(const Node& node) {
  const std::string text = node.text();
  const auto step = std::find_if(kPasskeySteps.begin(), kPasskeySteps.end(),
                                 [&](const auto& entry) { return entry.first == text; });
  if (step == kPasskeySteps.end()) {
    node.fail("must be creationOptions, registration, requestOptions or assertion");
  }
  return step->second;
}

/// What an answer says about its options completes those that the relying party makes.
void checkOptions(const Node& rule, PasskeyStep step) {
  const bool creates = step == PasskeyStep::creationOptions;
  if (!creates && step != PasskeyStep::requestOptions) return;
  if (!rule.has("answer")) rule.fail("has no answer for the passkey's options");
  const char* const name = creates ? passkeys::kCreationOptions : passkeys::kRequestOptions;
  if (rule["answer"].has(name)) rule["answer"][name].mustBeObject();
}

Rule readRule(const Node& node, const PlaceholderNames& names) {
  node.mustHoldOnly({"when", "challenges", "hasPasskey", "passkey", "facePicture", "answer",
                     "status", "headers", "trouble"});
  Rule rule;
  if (node.has("hasPasskey")) rule.hasPasskey = node["hasPasskey"].flag();
  if (node.has("passkey")) rule.passkey = readPasskeyStep(node["passkey"]);
  checkOptions(node, rule.passkey);
  if (node.has("facePicture")) rule.facePicture = node["facePicture"].flag();
  if (node.has("when")) rule.when = readWhen(node["when"]);
  if (node.has("challenges")) readChallengeStates(node["challenges"], names, rule);
  if (!readReply(node, names, rule.reply)) node.fail("has no answer");
  return rule;
}

Rules readRules(const Node& list, const PlaceholderNames& names) {
  Rules rules;
  list.eachItem([&](const Node& node) { rules.push_back(readRule(node, names)); });
  if (rules.empty()) list.fail("has no rule");
  return rules;
}

Rules readStart(const Node& start, const PlaceholderNames& names) {
  if (start.value().is_array()) return readRules(start, names);
  Rule rule;
  readAnswer(start, names, rule.reply);
  return {rule};
}

// ---- challenges

StatusStep readStatusStep(const Node& node, const PlaceholderNames& names) {
  node.mustHoldOnly({"times", "answer", "status", "headers", "trouble"});
  StatusStep step;
  if (node.has("times")) step.times = node["times"].number(1, kMaxTimes);
  Reply reply;
  if (readReply(node, names, reply)) {
    if (!reply.opens.empty()) node.fail("cannot open a challenge");
    if (!reply.documents.empty()) node.fail("cannot hold a flow document");
    step.reply = std::move(reply);
  } else if (node.has("status") || node.has("headers") || node.has("trouble")) {
    node.fail("has no answer");
  }
  return step;
}

ChallengePlan::SelfAnswer readSelfAnswer(const Node& node) {
  node.mustHoldOnly({"answer", "afterMs"});
  if (!node.has("answer") || !node.has("afterMs")) node.fail("must hold answer and afterMs");
  const std::string answer = node["answer"].text();
  if (answer != "approved" && answer != "denied") {
    node["answer"].fail("must be approved or denied");
  }
  return {.approves = answer == "approved",
          .after = std::chrono::milliseconds(node["afterMs"].number(0, kMaxDelay))};
}

ChallengePlan readChallenge(const Node& node, const PlaceholderNames& names) {
  node.mustHoldOnly({"for", "openForMs", "answersItself", "status"});
  if (!node.has("for")) node.fail("has no \"for\"");
  ChallengePlan plan{.purpose = node["for"].text()};
  if (node.has("openForMs")) {
    plan.openFor = std::chrono::milliseconds(node["openForMs"].number(1, kMaxDelay));
  }
  if (node.has("answersItself")) plan.answersItself = readSelfAnswer(node["answersItself"]);
  if (node.has("status")) {
    node["status"].eachItem(
        [&](const Node& step) { plan.status.push_back(readStatusStep(step, names)); });
  }
  return plan;
}

RelyingPartyPlan readRelyingParty(const Node& node) {
  node.mustHoldOnly({"id", "name", "origins"});
  RelyingPartyPlan plan;
  if (node.has("id")) plan.id = node["id"].text();
  if (node.has("name")) plan.name = node["name"].text();
  if (node.has("origins")) {
    plan.origins.clear();
    node["origins"].eachItem([&](const Node& origin) { plan.origins.push_back(origin.text()); });
  }
  return plan;
}

PlaceholderNames readNames(const Node& root) {
  PlaceholderNames names;
  if (root.has("challenges")) {
    root["challenges"].eachEntry(
        [&](const std::string& name, const Node&) { names.challenges.push_back(name); });
  }
  if (root.has("qrCodes")) {
    root["qrCodes"].eachEntry([&](const std::string& name, const Node& text) {
      names.qrCodes.emplace(name, text.text());
    });
  }
  return names;
}

// ---- what is for those who drive the flow by themselves

void checkDemo(const Node& demo) {
  demo.eachItem([](const Node& command) {
    command.mustBeObject();
    if (!command.has("do")) command.fail("has no \"do\"");
    command["do"].text();
  });
}

void checkExpect(const Node& expect) {
  expect.mustHoldOnly({"exit", "reason", "message", "code"});
  if (expect.has("exit")) expect["exit"].number(0, kMaxExit);
  for (const char* key : {"reason", "message", "code"}) {
    if (expect.has(key)) expect[key].text();
  }
}

void checkLook(const Node& look) {
  look.mustHoldOnly({"rightToLeft", "dark", "theme"});
  for (const char* key : {"rightToLeft", "dark"}) {
    if (look.has(key)) look[key].flag();
  }
  if (!look.has("theme")) return;
  look["theme"].eachEntry([](const std::string&, const Node& colour) { colour.text(); });
}

}  // namespace

std::shared_ptr<const Flow> readFlow(const std::string& jsonText) {
  const json file = parseFlowFile(jsonText);
  const Node root(file, "");
  root.mustHoldOnly({"about", "start", "events", "challenges", "relyingParty", "qrCodes", "after",
                     "afterAs", "needs", "demo", "look", "expect"});
  if (!root.has("start")) root.fail("has no \"start\"");
  auto flow = std::make_shared<Flow>();
  const PlaceholderNames names = readNames(root);
  flow->start = readStart(root["start"], names);
  if (root.has("about")) root["about"].text();
  if (root.has("events")) {
    root["events"].eachEntry([&](const std::string& name, const Node& rules) {
      flow->events.emplace(name, readRules(rules, names));
    });
  }
  if (root.has("challenges")) {
    root["challenges"].eachEntry([&](const std::string& name, const Node& challenge) {
      flow->challenges.emplace(name, readChallenge(challenge, names));
    });
  }
  if (root.has("relyingParty")) flow->relyingParty = readRelyingParty(root["relyingParty"]);
  for (const char* const before : {"after", "afterAs"}) {
    if (root.has(before)) root[before].text();
  }
  if (root.has("needs") && root["needs"].text() != "camera") root["needs"].fail("must be camera");
  if (root.has("demo")) checkDemo(root["demo"]);
  if (root.has("look")) checkLook(root["look"]);
  if (root.has("expect")) checkExpect(root["expect"]);
  return flow;
}

}  // namespace veltrane::sandbox
