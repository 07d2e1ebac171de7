#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <functional>
#include <memory>
#include <vector>

#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;

struct Wrong {
  const char* what;  // part of the message
  std::function<void(Request&)> spoil;
};

void setHeader(Request& request, const std::string& name, const std::string& value) {
  request.headers.erase(name);
  request.headers.emplace(name, value);
}

class StrictnessTest : public SandboxTest {
 protected:
  /// Spoils a good request in each way and looks at the refusal.
  void expectRefused(const Request& good, const std::vector<Wrong>& wrongs) const {
    ASSERT_EQ(send(good)->status, 200) << "the request was to be good";
    for (const Wrong& wrong : wrongs) {
      SCOPED_TRACE(wrong.what);
      Request request = good;
      wrong.spoil(request);
      const auto answer = send(request);
      ASSERT_TRUE(answer);
      EXPECT_EQ(answer->status, 400);
      const json body = json::parse(answer->body);
      EXPECT_THAT(body["message"].get<std::string>(), HasSubstr(wrong.what));
      EXPECT_EQ(body["httpResponseCode"], 400);
      EXPECT_NE(body["code"], "");
    }
  }

  static std::function<void(Request&)> withBody(const std::function<void(json&)>& change) {
    return [change](Request& request) {
      json body = goodBody();
      change(body);
      request.body = body.dump();
    };
  }

  static std::function<void(Request&)> inPath(const std::string& old, const std::string& fresh) {
    return [old, fresh](Request& request) {
      request.path.replace(request.path.find(old), old.size(), fresh);
    };
  }
};

TEST_F(StrictnessTest, refusesWrongPathsMethodsAndHeaders) {
  const auto header = [](const char* name, const char* value) {
    return [name, value](Request& request) { setHeader(request, name, value); };
  };
  const auto without = [](const char* name) {
    return [name](Request& request) { request.headers.erase(name); };
  };
  expectRefused(
      startOf("shop"),
      {{"must begin with \"/v1/\"", inPath("/v1/", "/v2/")},
       {"nothing at this path", inPath("/start", "/begin")},
       {"nothing at this path", inPath("/flows/", "/flow/")},
       {"company id", inPath("acme", "")},
       {"has no query", inPath("/start", "/start?a=b")},
       {"must be POST", [](Request& request) { request.method = "PUT"; }},
       {"must be POST", [](Request& request) { request.method = "GET"; }},
       {"\"Authorization\" is missing", without("Authorization")},
       {"\"Bearer \"", header("Authorization", "Basic YTpi")},
       {"\"Bearer \"", header("Authorization", "Bearer a b")},
       {"comes twice",
        [](Request& request) { request.headers.emplace("Authorization", "Bearer x"); }},
       {"\"Content-Type\" must be", header("Content-Type", "text/plain")},
       {"\"Content-Type\" must be", header("Content-Type", "application/json; charset=utf-8")},
       {"\"vt-agent\" is missing", without("vt-agent")},
       {"\"vt-agent\" must be", header("vt-agent", "ios, sdkVersion: 0.0.1, OSVersion: 14.4")},
       {"\"vt-agent\" must be", header("vt-agent", "ios, sdkVersion: 0.0.2, OSVersion: 14.4.0")},
       {"\"vt-agent\" must be", header("vt-agent", "ios, sdkVersion: 0.0.1, OSVersion: 1.2.3.4")},
       {"no JSON object", [](Request& request) { request.body = "[]"; }},
       {"no JSON.", [](Request& request) { request.body = "{"; }}});
}

TEST_F(StrictnessTest, refusesWrongEvents) {
  std::vector<Wrong> wrongs{
      {"no JSON.", [](Request& request) { request.body.clear(); }},
      {"The query must be", inPath("?interactionId=", "?interaction=")},
      {"The query must be", [](Request& request) { request.path += "&x=1"; }},
      {"no interaction", inPath("interactionId=", "interactionId=other-")},
      {"connectionId of the body", inPath("conn-1", "conn-2")},
      {"capabilityName of the body", inPath("/buy", "/sell")},
      {"another company", inPath("acme", "other")},
      {"no event", withBody([](json& body) { body["eventName"] = "steal"; })},
      {"is empty", withBody([](json& body) { body["eventName"] = ""; })},
      {"has the id", withBody([](json& body) { body["id"] = "doc-2"; })},
      {"no object", withBody([](json& body) { body["parameters"] = json::array(); })},
      {"\"extra\", which no event", withBody([](json& body) { body["extra"] = 1; })},
      {"has no connection", [](Request& request) {
         inPath("conn-1", "conn-2")(request);
         withBody([](json& body) { body["connectionId"] = "conn-2"; })(request);
       }}};
  const json body = goodBody();
  for (const auto& entry : body.items()) {
    const std::string key = entry.key();
    wrongs.push_back({"is missing", withBody([key](json& body) { body.erase(key); })});
    wrongs.push_back({"is no ", withBody([key](json& body) { body[key] = 7; })});
  }
  expectRefused(goodEvent(), wrongs);
}

TEST_F(StrictnessTest, takesWhatClientsMaySendOtherwise) {
  Request request = startOf("shop", R"({"locale": "en"})");
  setHeader(request, "Authorization", "Bearer");  // an empty token, its blank trimmed
  request.path = "/v1/auth/acme%20inc/policy/shop/start";
  const auto answer = send(request);
  ASSERT_EQ(answer->status, 200);
  const json document = json::parse(answer->body);
  EXPECT_EQ(document["companyId"], "acme inc");
  EXPECT_EQ(document["flowId"], "shop");
  EXPECT_NE(document["interactionId"], json::parse(send(startOf("shop"))->body)["interactionId"]);
}

TEST_F(StrictnessTest, knowsNoOtherFlow) {
  const auto answer = send(startOf("shoe"));
  EXPECT_EQ(answer->status, 404);
  const json body = json::parse(answer->body);
  EXPECT_EQ(body["code"], "unknownFlow");
  EXPECT_THAT(body["message"].get<std::string>(), HasSubstr("\"shoe\""));
}

TEST_F(StrictnessTest, eventsFollowTheDocumentThatAnAnswerBrings) {
  server->addFlow("two", R"({
    "start": {"id": "first", "companyId": "acme", "connectionId": "c1", "capabilityName": "k",
              "interactionId": "i-1"},
    "events": {
      "go": [{"answer": {"screen": {"id": "second", "companyId": "acme", "interactionId": "i-1",
        "methods": [{"connectionId": "c2", "capabilityName": "m"}]}}}],
      "end": [{"when": {"id": "second"}, "answer": {"success": 1}}]}})");
  const auto event = [](const std::string& name, const std::string& id, const std::string& conn,
                        const std::string& capability) {
    const json body{{"eventName", name},
                    {"id", id},
                    {"connectionId", conn},
                    {"capabilityName", capability},
                    {"parameters", json::object()}};
    return Request{.path = "/v1/auth/acme/connections/" + conn + "/capabilities/" + capability +
                           "?interactionId=i-1",
                   .body = body.dump()};
  };
  ASSERT_EQ(send(startOf("two"))->status, 200);
  EXPECT_EQ(send(event("end", "second", "c2", "m"))->status, 400) << "not sent yet";
  EXPECT_EQ(send(event("go", "first", "c1", "k"))->status, 200);
  EXPECT_EQ(send(event("end", "second", "c2", "m"))->status, 200);
  EXPECT_EQ(send(event("end", "second", "c1", "k"))->status, 400) << "the first one's connection";
}

TEST_F(StrictnessTest, recordsRequestsAndLogsNoSecrets) {
  std::mutex mutex;
  std::vector<std::string> lines;
  server.reset();
  start({.log = [&](const std::string& line) {
    const std::lock_guard lock(mutex);
    lines.push_back(line);
  }});
  Request request = goodEvent();
  server->clearRequests();
  request.body = "not a body";
  send(request);
  const auto recorded = server->requests();
  ASSERT_EQ(recorded.size(), 1U);
  EXPECT_EQ(recorded[0].method, "POST");
  EXPECT_EQ(recorded[0].path, request.path);
  EXPECT_EQ(recorded[0].body, "not a body");
  EXPECT_EQ(recorded[0].header("AUTHORIZATION"), "Bearer some-token");
  EXPECT_EQ(recorded[0].header("remote_addr"), "");
  server.reset();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], testing::MatchesRegex("POST /v1/auth/acme/flows/shop/start 200 [0-9]+ ms"));
  EXPECT_THAT(lines[1], testing::MatchesRegex("POST .*/buy 400 .badBody. [0-9]+ ms"));
}

/// Sends the text as it stands and reads until the server closes.
std::string exchange(int port, const std::string& text) {
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()),
                                                                  &SSL_CTX_free);
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> line(BIO_new_ssl_connect(context.get()),
                                                           &BIO_free_all);
  BIO_set_conn_hostname(line.get(), ("127.0.0.1:" + std::to_string(port)).c_str());
  std::string answer;
  if (BIO_write(line.get(), text.data(), static_cast<int>(text.size())) <= 0) return answer;
  char buffer[4096];
  for (int count = 0; (count = BIO_read(line.get(), buffer, sizeof buffer)) > 0;) {
    answer.append(buffer, static_cast<std::size_t>(count));
  }
  return answer;
}

TEST_F(StrictnessTest, waitsForNoBodyThatIsNotAnnounced) {
  const std::string rest = " /v1/auth/acme/flows/shop/start HTTP/1.1\r\nHost: localhost\r\n";
  for (const std::string method : {"PUT", "PATCH"}) {
    const auto answer = exchange(server->port(), method + rest + "\r\n");
    EXPECT_THAT(answer, HasSubstr("HTTP/1.1 400")) << method;
    EXPECT_THAT(answer, HasSubstr("badMethod")) << method;
  }
  std::string headers;
  for (const auto& [name, value] : goodHeaders()) headers += name + ": " + value + "\r\n";
  EXPECT_THAT(exchange(server->port(), "POST" + rest + headers + "\r\n"),
              HasSubstr("HTTP/1.1 200"));
}

TEST_F(StrictnessTest, keepsAsManyRequestsAsItMayAndNoneUnlessAsked) {
  server.reset();
  start({.recordedBytes = 100'000});
  const auto sendBody = [&](char letter, std::size_t size) {
    return send(startOf("shop", R"({"a": ")" + std::string(size, letter) + "\"}"))->status;
  };
  for (const char letter : {'p', 'q', 'r'}) EXPECT_EQ(sendBody(letter, 40'000), 200);
  const auto recorded = server->requests();
  ASSERT_EQ(recorded.size(), 2U);
  EXPECT_THAT(recorded[0].body, testing::HasSubstr("qqq"));
  EXPECT_THAT(recorded[1].body, testing::HasSubstr("rrr"));
  server->clearRequests();
  EXPECT_EQ(sendBody('s', 90'000), 200);
  EXPECT_EQ(server->requests().size(), 1U) << "what was cleared takes up nothing";
  EXPECT_EQ(sendBody('t', 200'000), 200) << "answered, though too large to keep";
  EXPECT_TRUE(server->requests().empty());
  server.reset();
  start({.recordedBytes = 0});
  EXPECT_EQ(sendBody('u', 10), 200);
  EXPECT_TRUE(server->requests().empty());
}

}  // namespace
}  // namespace veltrane::sandbox::test
