#include <fstream>
#include <utility>
#include <vector>

#include "apps/sandbox/flow.h"
#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;

std::string complaintAbout(const std::string& text) {
  try {
    readFlow(text);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "";
}

TEST(FlowFile, saysWhatIsWrongAndWhere) {
  const std::vector<std::pair<const char*, const char*>> wrongs{
      {"{\n  \"start\": oops}", "the file: parse error at line 2"},
      {"[]", "the file: must be an object"},
      {"{}", "the file: has no \"start\""},
      {R"({"start": {}, "event": {}})", "the file: unknown key \"event\""},
      {R"({"start": 5})", "start: must be an object"},
      {R"({"start": []})", "start: has no rule"},
      {R"({"start": [{}]})", "start[0]: has no answer"},
      {R"({"start": [{"answer": []}]})", "start[0].answer: must be an object"},
      {R"({"start": {"a": "${user}"}})", "start: unknown placeholder ${user}"},
      {R"({"start": {}, "events": []})", "events: must be an object"},
      {R"({"start": {}, "events": {"go": {}}})", "events.go: must be a list"},
      {R"({"start": {}, "events": {"go": [{"answer": {}, "then": 1}]}})",
       "events.go[0]: unknown key \"then\""},
      {R"({"start": [{"answer": {}, "status": 99}]})", "start[0].status: must be a whole number"},
      {R"({"start": [{"answer": {}, "status": "200"}]})", "start[0].status: must be a whole"},
      {R"({"start": [{"answer": {}, "headers": {"A": "b\r\nC: d"}}]})", "start[0].headers.A: is"},
      {R"({"start": [{"answer": {}, "when": {"a..b": 1}}]})", "start[0].when: \"a..b\" is no path"},
      {R"({"start": [{"answer": {}, "when": {"a": []}}]})", "start[0].when.a: must be a text, a"},
      {R"({"start": [{"answer": {}, "when": {"a": {"is": 1}}}]})", "when.a: unknown key \"is\""},
      {R"({"start": [{"answer": {}, "when": {"a": {}}}]})", "when.a: must hold one of"},
      {R"({"start": [{"answer": {}, "when": {"a": {"missing": 1}}}]})", "a.missing: must be true"},
      {R"({"start": [{"trouble": {"delay": 5}}]})", "start[0].trouble: unknown key \"delay\""},
      {R"({"start": [{"trouble": {"delayMs": -5}}]})", "trouble.delayMs: must be a whole number"},
      {R"({"start": [{"trouble": {"noAnswer": true, "garbage": true}}]})", "holds more than one"},
      {R"({"start": [{"trouble": {"noAnswer": true}, "answer": {}}]})", "no place for an answer"},
      {R"({"start": {"a": "${challenge:x}"}})", "start: unknown placeholder ${challenge:x}"},
      {R"({"start": {"a": "${picture:x.png}"}})", "start: unknown placeholder ${picture:x.png}"},
      {R"({"start": {"a": "${qr:x}"}})", "start: unknown placeholder ${qr:x}"},
      {R"({"start": {"a": "${qr:x}"}, "qrCodes": {"x": ""}})", "start: no QR code can hold"},
      {R"({"start": {}, "challenges": {"x": {}}})", "challenges.x: has no \"for\""},
      {R"({"start": [{"answer": {}, "challenges": {"x": "approved"}}]})", "no challenge of this"},
      {R"({"start": [{"answer": {}, "challenges": {"x": "yes"}}],
           "challenges": {"x": {"for": "y"}}})",
       "start[0].challenges.x: must be inProgress, approved, denied or expired"},
      {R"({"start": {}, "challenges": {"x": {"for": "y", "answersItself": {"answer": "yes",
           "afterMs": 1}}}})",
       "answersItself.answer: must be approved or denied"},
      {R"({"start": {}, "challenges": {"x": {"for": "y", "status": [{"status": 503}]}}})",
       "challenges.x.status[0]: has no answer"},
      {R"({"start": {}, "challenges": {"x": {"for": "y", "status": [{"answer": {
           "a": "${challenge:x}"}}]}}})",
       "challenges.x.status[0]: cannot open a challenge"},
      {R"({"start": {}, "challenges": {"x": {"for": "y", "status": [{}, {"answer": {
           "interactionId": "i", "id": "d", "connectionId": "c", "capabilityName": "k"}}]}}})",
       "challenges.x.status[1]: cannot hold a flow document"},
      {R"({"start": {}, "challenges": {"x": {"for": "y", "status": [{"answer": {
           "screen": {"interactionId": "${interactionId}"}}}]}}})",
       "challenges.x.status[0]: cannot hold a flow document"},
      {R"({"start": {}, "demo": [{"press": 1}]})", "demo[0]: has no \"do\""},
      {R"({"start": {}, "look": {"rtl": true}})", "look: unknown key \"rtl\""},
      {R"({"start": {}, "look": {"dark": 1}})", "look.dark: must be true or false"},
      {R"({"start": {}, "look": {"theme": {"a": 1}}})", "look.theme.a: must be a text"},
      {R"({"start": {}, "expect": {"exit": 5}})", "expect.exit: must be a whole number"},
  };
  for (const auto& [text, complaint] : wrongs) {
    EXPECT_THAT(complaintAbout(text), HasSubstr(complaint)) << text;
  }
  const std::string deep = R"({"start": {"a": )" + std::string(600, '[') + std::string(600, ']');
  EXPECT_THAT(complaintAbout(deep + "}}"), HasSubstr("nested deeper than 512"));
}

std::string noChallenges(const std::string&) {
  return "";
}

TEST(FlowFile, firstRuleThatFitsWins) {
  const auto flow = readFlow(R"({"start": [
    {"when": {"a.b": "x", "c": {"missing": true}}, "answer": {"rule": 0}},
    {"when": {"a.b": {"startsWith": "x"}}, "answer": {"rule": 1}},
    {"when": {"a.b": {"not": null}, "c": {"missing": false}}, "answer": {"rule": 2}},
    {"when": {"n": 1, "t": true}, "answer": {"rule": 3}}]})");
  const auto ruleFor = [&](const char* body) {
    const Rule* rule =
        firstMatch(flow->start, json::parse(body), noChallenges, [] { return false; });
    return rule ? rule->reply.text : "none";
  };
  EXPECT_EQ(ruleFor(R"({"a": {"b": "x"}})"), R"({"rule":0})");
  EXPECT_EQ(ruleFor(R"({"a": {"b": "x"}, "c": 0})"), R"({"rule":1})");
  EXPECT_EQ(ruleFor(R"({"a": {"b": "yx"}, "c": null})"), R"({"rule":2})");
  EXPECT_EQ(ruleFor(R"({"a": {"b": null}, "c": 1})"), "none");
  EXPECT_EQ(ruleFor(R"({"n": 1, "t": true})"), R"({"rule":3})");
  EXPECT_EQ(ruleFor(R"({"n": "1", "t": true})"), "none");
  EXPECT_EQ(ruleFor(R"({"a": "no object"})"), "none");
  EXPECT_EQ(ruleFor("null"), "none");
}

class FlowsTest : public SandboxTest {};

TEST_F(FlowsTest, noRuleThatFitsIsARefusal) {
  server->addFlow("picky", R"({"start": [{"when": {"a": 1}, "answer": {}}]})");
  EXPECT_EQ(send(startOf("picky", R"({"a": 1})"))->status, 200);
  const auto answer = send(startOf("picky"));
  EXPECT_EQ(answer->status, 400);
  EXPECT_EQ(json::parse(answer->body)["code"], "noMatchingRule");
}

TEST_F(FlowsTest, placeholdersAreFilledInAndEscaped) {
  server->addFlow("a\"b", R"({"start": {"text": "${companyId}, ${flowId} and $ {x} $"}})");
  Request request = startOf("a%22b");
  const json answer = json::parse(send(request)->body);
  EXPECT_EQ(answer["text"], "acme, a\"b and $ {x} $");
}

TEST_F(FlowsTest, aReplacedFlowLeavesItsRunsAlone) {
  const Request event = goodEvent();
  server->addFlow("shop", R"({"start": {"success": true}})");
  EXPECT_EQ(json::parse(send(startOf("shop"))->body), json({{"success", true}}));
  EXPECT_EQ(send(event)->status, 200);
}

TEST_F(FlowsTest, aWrongFlowFileStopsTheStartAndIsNamed) {
  const auto file = folder_.path() / "broken.json";
  std::ofstream(file) << R"({"start": {}, "evnts": {}})";
  server.reset();
  for (const auto& path : {file, folder_.path() / "none.json"}) {
    try {
      start({.flowFiles = {path}});
      ADD_FAILURE() << "started with " << path;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr(path.string()));
    }
  }
}

}  // namespace
}  // namespace veltrane::sandbox::test
