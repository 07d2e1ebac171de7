#include "apps/sandbox/approve/approve_page.h"
#include "apps/sandbox/own_page.h"

#include <functional>
#include <mutex>
#include <vector>

#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A flow whose start opens a challenge, and those who look at it from the wire.
class ApproveTest : public SandboxTest {
 protected:
  ApproveTest() { addPush(R"({"for": "Pay <b>\"7\" & more</b>"})"); }

  void addPush(const std::string& plan) const {
    server->addFlow("push", R"({"start": {
      "id": "doc-1", "companyId": "${companyId}", "connectionId": "c", "capabilityName": "k",
      "interactionId": "${interactionId}", "challenge": "${challenge:push}"},
      "events": {"continue": [
        {"challenges": {"push": "approved"}, "answer": {"success": 1}}, {"answer": {"success": 0}}]},
      "challenges": {"push": )" +
                                plan + "}}");
  }

  json startPush() const { return json::parse(send(startOf("push"))->body); }

  static Request statusOf(const json& document) {
    Request request{.path = "/v1/auth/acme/user/credentials/challenge/" +
                            document["challenge"].get<std::string>() + "/status?interactionId=" +
                            document["interactionId"].get<std::string>()};
    request.headers.erase("Content-Type");
    return request;
  }

  std::string origin() const { return "https://localhost:" + std::to_string(server->port()); }

  httplib::Result page(const httplib::Headers& headers = {}) const {
    return client()->Get("/approve", headers);
  }

  std::string tokenOf(const json& document) const {
    const std::string html = page()->body;
    const std::string start = "name=\"token\" value=\"";
    const auto form = html.find("/approve/" + document["challenge"].get<std::string>());
    const auto begin = html.find(start, form) + start.size();
    return html.substr(begin, html.find('"', begin) - begin);
  }

  httplib::Result answer(const json& document, const std::string& answer, const std::string& token,
                         const httplib::Headers& headers) const {
    return client()->Post("/approve/" + document["challenge"].get<std::string>(), headers,
                          httplib::Params{{"token", token}, {"answer", answer}});
  }

  std::string statusText(const json& document) const {
    return json::parse(send(statusOf(document))->body)["status"];
  }
};

TEST_F(ApproveTest, anAnswerReachesWhoAsksForTheStatusAndTheRules) {
  const json document = startPush();
  const auto event = [&] {
    const json body{{"eventName", "continue"},
                    {"connectionId", "c"},
                    {"capabilityName", "k"},
                    {"id", "doc-1"},
                    {"parameters", json::object()}};
    const std::string interaction = document["interactionId"];
    const auto reply =
        send({.path = "/v1/auth/acme/connections/c/capabilities/k?interactionId=" + interaction,
              .body = body.dump()});
    return json::parse(reply->body)["success"];
  };
  EXPECT_EQ(statusText(document), "inProgress");
  EXPECT_EQ(event(), 0);
  const std::string token = tokenOf(document);
  const auto taken = answer(document, "approve", token, {{"Origin", origin()}});
  EXPECT_EQ(taken->status, 303);
  EXPECT_EQ(statusText(document), "approved");
  EXPECT_EQ(event(), 1);
  EXPECT_THAT(client()->Get(taken->get_header_value("Location"))->body, HasSubstr("Approved: Pay"));
  const auto late = answer(document, "deny", token, {{"Origin", origin()}});
  EXPECT_EQ(late->status, 409);
  EXPECT_THAT(late->body, HasSubstr("answered before, and approved"));
  EXPECT_EQ(statusText(document), "approved");
}

TEST_F(ApproveTest, refusesWhatDoesNotComeFromThePageItself) {
  const json document = startPush();
  const json other = startPush();
  const std::string token = tokenOf(document);
  const std::string port = std::to_string(server->port());
  const httplib::Headers own{{"Origin", origin()}};
  struct Case {
    std::string token;
    httplib::Headers headers;
  };
  const std::vector<Case> cases{
      {token, {}},
      {token, {{"Origin", "null"}}},
      {token, {{"Origin", "https://elsewhere.example"}}},
      {token, {{"Origin", "https://localhost:1"}}},
      {token, {{"Origin", "http://localhost:" + port}}},
      {token, {{"Origin", origin()}, {"Sec-Fetch-Site", "cross-site"}}},
      {token, {{"Origin", origin()}, {"Sec-Fetch-Site", "same-site"}}},
      // A name of somebody else's that leads to this machine.
      {token, {{"Origin", "https://evil.example:" + port}, {"Host", "evil.example:" + port}}},
      {tokenOf(other), own},
      {"", own}};
  for (const Case& wrong : cases) {
    EXPECT_EQ(answer(document, "approve", wrong.token, wrong.headers)->status, 403)
        << json(wrong.headers);
  }
  EXPECT_EQ(answer(document, "perhaps", token, own)->status, 400);
  EXPECT_EQ(answer({{"challenge", "none"}}, "approve", token, own)->status, 404);
  EXPECT_EQ(client()->Put("/approve", own, "", "text/plain")->status, 405);
  EXPECT_EQ(statusText(document), "inProgress");
  EXPECT_EQ(answer(document, "approve", token, own)->status, 303) << "the case was to be good";
}

TEST_F(ApproveTest, thePageIsForThisMachineAloneAndForNobodysFrame) {
  startPush();
  const auto shown = page();
  EXPECT_EQ(shown->status, 200);
  EXPECT_EQ(page({{"Sec-Fetch-Site", "cross-site"}})->status, 403);
  EXPECT_EQ(page({{"Host", "evil.example"}})->status, 403);
  EXPECT_THAT(page({{"Host", "evil.example"}})->body, Not(HasSubstr("token")));
  EXPECT_EQ(shown->get_header_value("Cache-Control"), "no-store");
  const auto policy = shown->get_header_value("Content-Security-Policy");
  EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
  EXPECT_THAT(policy, HasSubstr("frame-ancestors 'none'"));
  EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
  EXPECT_THAT(shown->body, HasSubstr("Pay &lt;b&gt;&quot;7&quot; &amp; more&lt;/b&gt;"));
  EXPECT_THAT(shown->body, Not(HasSubstr("<b>")));
  EXPECT_EQ(client()->Get("/approve/page.css")->get_header_value("Content-Type"), "text/css");
  EXPECT_EQ(client()->Get("/approve/page.js")->get_header_value("Content-Type"), "text/javascript");
  EXPECT_EQ(client()->Get("/approve/other")->status, 404);
  for (const char* own : {"127.0.0.1", "127.8.9.1", "::1", "::ffff:127.0.0.1"}) {
    EXPECT_TRUE(isLoopbackAddress(own)) << own;
  }
  for (const char* foreign :
       {"192.168.0.7", "10.127.0.1", "::", "fe80::1", "::ffff:10.0.0.1", ""}) {
    EXPECT_FALSE(isLoopbackAddress(foreign)) << foreign;
  }
}

/// Without a server: the port belongs to the machine.
TEST(ApprovePage, namesWithoutAPortAreItsOwnAtThePortOfHttpsAlone) {
  Challenges challenges;
  ApprovePage page(challenges);
  const auto statusAt = [&](int port, const std::string& host) {
    httplib::Request request;
    request.method = "GET";
    request.path = "/approve";
    request.remote_addr = "127.0.0.1";
    request.headers = {{"Host", host}};
    httplib::Response response;
    page.answer(request, port, response);
    // httplib's own word for a response that nobody gave a status.
    return response.status == -1 ? 200 : response.status;
  };
  for (const std::string name : {"localhost", "127.0.0.1", "[::1]"}) {
    EXPECT_EQ(statusAt(443, name), 200) << name;
    EXPECT_EQ(statusAt(443, name + ":443"), 200) << name;
    EXPECT_EQ(statusAt(8443, name), 403) << name;
    EXPECT_EQ(statusAt(443, name + ":8443"), 403) << name;
  }
  EXPECT_EQ(statusAt(443, "evil.example"), 403);
}

TEST_F(ApproveTest, aStatusIsAskedForExactlySo) {
  const json document = startPush();
  const Request good = statusOf(document);
  ASSERT_EQ(send(good)->status, 200);
  const auto codeOf = [&](const std::function<void(Request&)>& spoil) {
    Request request = good;
    spoil(request);
    const json body = json::parse(send(request)->body);
    return body["code"].get<std::string>();
  };
  const auto inPath = [](const std::string& old, const std::string& fresh) {
    return
        [=](Request& request) { request.path.replace(request.path.find(old), old.size(), fresh); };
  };
  EXPECT_EQ(codeOf([](Request& request) { request.method = "GET"; }), "badMethod");
  EXPECT_EQ(codeOf([](Request& request) { request.headers = goodHeaders(); }), "badHeader");
  EXPECT_EQ(codeOf([](Request& request) { request.headers.erase("Authorization"); }), "badHeader");
  EXPECT_EQ(codeOf([](Request& request) { request.headers.erase("vt-agent"); }), "badHeader");
  EXPECT_EQ(codeOf(inPath("?interactionId=", "?interaction=")), "badPath");
  EXPECT_EQ(codeOf(inPath("interactionId=", "interactionId=x")), "wrongId");
  EXPECT_EQ(codeOf(inPath("acme", "other")), "wrongId");
  EXPECT_EQ(codeOf(inPath("/challenge/", "/request/")), "badPath");
  EXPECT_EQ(codeOf(inPath("/challenge/", "/challenge/x")), "unknownChallenge");
}

TEST_F(ApproveTest, askingForAStatusCanGoWrongInEveryWay) {
  addPush(R"({"for": "x", "status": [
    {"trouble": {"closeConnection": true}}, {"status": 503, "answer": {"message": "busy"}},
    {"trouble": {"rawBody": "approved", "contentType": "text/plain"}}, {"trouble": {"rawBody": "[]"}},
    {"answer": {}}, {"answer": {"status": "Approved"}}, {"times": 2, "answer": {"status": "approved"}},
    {"times": 1000, "trouble": {"noAnswer": true}}]})");
  const Request status = statusOf(startPush());
  EXPECT_FALSE(send(status));
  EXPECT_EQ(send(status)->status, 503);
  for (const char* body : {"approved", "[]", "{}", R"({"status":"Approved"})",
                           R"({"status":"approved"})", R"({"status":"approved"})"}) {
    EXPECT_EQ(send(status)->body, body);
  }
  auto impatient = client();
  impatient->set_read_timeout(0, 50'000);
  EXPECT_FALSE(impatient->Post(status.path, status.headers, "", ""));
}

TEST_F(ApproveTest, placeholdersOfAStatusStandForThoseOfTheRun) {
  addPush(R"({"for": "x", "status": [{"answer": {
    "status": "${companyId}, ${flowId} of ${interactionId} at ${serverURL}"}}]})");
  const json document = startPush();
  const std::string interaction = document["interactionId"];
  EXPECT_EQ(statusText(document), "acme, push of " + interaction + " at " + origin());
}

TEST_F(ApproveTest, thePageIsNotRecordedAndLogsNoToken) {
  std::mutex mutex;
  std::string log;
  server.reset();
  start({.log = [&](const std::string& line) {
    const std::lock_guard lock(mutex);
    log += line + "\n";
  }});
  addPush(R"({"for": "x"})");
  const json document = startPush();
  server->clearRequests();
  const std::string token = tokenOf(document);
  answer(document, "deny", token, {{"Origin", origin()}});
  EXPECT_TRUE(server->requests().empty());
  server.reset();
  EXPECT_THAT(log, testing::ContainsRegex("POST /approve/[0-9a-f]+ 303"));
  EXPECT_THAT(log, Not(HasSubstr("GET /approve")));
  EXPECT_THAT(log, Not(HasSubstr(token)));
}

}  // namespace
}  // namespace veltrane::sandbox::test
