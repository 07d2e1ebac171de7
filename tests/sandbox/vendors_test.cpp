// The stand-ins for identity vendors: what their initiate calls take, and what stands behind them.
#include <openssl/evp.h>

#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* kScan = "/api/v4/initiate";
constexpr const char* kCheck = "/api/authentication/v1/web/initiate";

std::string basic(const std::string& account) {
  std::string text((account.size() + 2) / 3 * 4 + 1, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                  reinterpret_cast<const unsigned char*>(account.data()),
                  static_cast<int>(account.size()));
  text.pop_back();
  return "Basic " + text;
}

class Vendors : public SandboxTest {
 protected:
  static httplib::Headers headers(const std::string& apiToken = "sandbox-token") {
    return {{"Authorization", basic(apiToken + ":sandbox-secret")},
            {"Accept", "application/json"},
            {"Content-Type", "application/json"},
            {"User-Agent", "Acme Tests/1.0"}};
  }
  static json scanBody() {
    return {{"customerInternalReference", "visit-1"}, {"userReference", "user-1"}};
  }
  static json checkBody() {
    return {{"customerInternalReference", "visit-1"},
            {"enrollmentTransactionReference", std::string(36, 'e')},
            {"callbackUrl", "https://acme.example/hook"}};
  }
  static Request scan(const std::string& apiToken = "sandbox-token") {
    return {.path = kScan, .body = scanBody().dump(), .headers = headers(apiToken)};
  }
  httplib::Result get(const std::string& path) const {
    return send({.method = "GET", .path = path, .headers = {}});
  }
  json initiated(const Request& request) const {
    const auto answer = send(request);
    EXPECT_EQ(answer->status, 200) << answer->body;
    return json::parse(answer->body);
  }
  /// The path and query of the page behind an answer.
  std::string pagePath(const json& answer) const {
    const auto url = answer.at("redirectUrl").get<std::string>();
    const std::string origin = "https://localhost:" + std::to_string(server->port());
    EXPECT_TRUE(url.starts_with(origin + "/")) << url;
    return url.substr(origin.size());
  }
  void expectRefused(const Request& request, int status, const std::string& code,
                     const std::string& why) const {
    const auto answer = send(request);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, status) << why << ": " << answer->body;
    const json body = json::parse(answer->body);
    EXPECT_EQ(body.at("code"), code) << why;
    EXPECT_THAT(body.at("message").get<std::string>(), HasSubstr(why));
  }
};

TEST_F(Vendors, AScanAndACheckBeginAndLeadToAPageOfTheirOwn) {
  for (const auto& request :
       {scan(), Request{.path = kCheck, .body = checkBody().dump(), .headers = headers()}}) {
    const json answer = initiated(request);
    EXPECT_EQ(answer.size(), 3u);
    EXPECT_THAT(answer.at("timestamp").get<std::string>(),
                MatchesRegex("....-..-..T..:..:..\\....Z"));
    EXPECT_EQ(answer.at("transactionReference").get<std::string>().size(), 36u)
        << "fits where a check names its enrolment";
    const auto page = get(pagePath(answer));
    EXPECT_EQ(page->status, 200);
    EXPECT_THAT(page->body, HasSubstr("data-reference=\"" +
                                      answer.at("transactionReference").get<std::string>() + '"'));
    EXPECT_THAT(page->body, HasSubstr("data-customer=\"visit-1\""));
    EXPECT_FALSE(page->has_header("X-Frame-Options")) << "it stands in others' frames";
  }
  for (const char* const asset : {"/web/client.js", "/web/client.css", "/web/foreign.js"}) {
    EXPECT_EQ(get(asset)->status, 200) << asset;
  }
  const auto recorded = server->requests();
  EXPECT_EQ(recorded.size(), 2u) << "the calls, not what a browser loads";
  EXPECT_EQ(recorded.front().path, kScan);
}

TEST_F(Vendors, TheAccountMustBeRight) {
  const auto with = [](const std::string& authorization) {
    auto request = scan();
    request.headers.erase("Authorization");
    if (!authorization.empty()) request.headers.emplace("Authorization", authorization);
    return request;
  };
  const char* const code = "unauthorized";
  expectRefused(with(""), 401, code, "must be \"Basic \"");
  expectRefused(with("Bearer x"), 401, code, "must be \"Basic \"");
  expectRefused(with("Basic c2FuZGJveA"), 401, code, "in Base64");
  expectRefused(with(basic("sandbox-token")), 401, code, "a colon");
  expectRefused(with(basic("sandbox-token:wrong")), 401, code, "the secret");
  expectRefused(with(basic("somebody:sandbox-secret")), 401, code, "no such API token");
  expectRefused(scan("initiate-401"), 401, code, "no such API token");
}

TEST_F(Vendors, TheHeadersMustBeRight) {
  for (const char* const name : {"Accept", "Content-Type", "User-Agent"}) {
    auto request = scan();
    request.headers.erase(name);
    request.headers.emplace(name, "x");
    expectRefused(request, 400, "badHeader", std::string("\"") + name + '"');
  }
  auto get = scan();
  get.method = "GET";
  expectRefused(get, 405, "badMethod", "POST");
}

TEST_F(Vendors, EachMemberOfABodyMustBeRight) {
  struct Case {
    const char* path;
    json changes;  // null: taken away
    const char* why;
  };
  const std::string longText(101, 'x');
  const std::string url = "https://acme.example/";
  const std::vector<Case> wrong = {
      {kScan, {{"customerInternalReference", nullptr}}, "is missing"},
      {kScan, {{"customerInternalReference", longText}}, "1 to 100"},
      {kScan, {{"userReference", nullptr}}, "is missing"},
      {kScan, {{"userReference", ""}}, "1 to 100"},
      {kScan, {{"userReference", 5}}, "must be a text"},
      {kScan, {{"callbackUrl", "http://acme.example/"}}, "https URL"},
      {kScan, {{"callbackUrl", "https://"}}, "https URL"},
      {kScan, {{"callbackUrl", "https:///hook"}}, "https URL"},
      {kScan, {{"callbackUrl", url + "a b"}}, "https URL"},
      {kScan, {{"callbackUrl", url + std::string(235, 'x')}}, "1 to 255"},
      {kScan, {{"successUrl", url + std::string(2027, 'x')}}, "1 to 2047"},
      {kScan, {{"workflowId", "x"}}, "whole number"},
      {kScan, {{"locale", "english"}}, "language"},
      {kScan, {{"locale", "en-gb"}}, "language"},
      {kScan, {{"tokenLifetimeInMinutes", 4}}, "5 to 86400"},
      {kScan, {{"tokenLifetimeInMinutes", 86401}}, "5 to 86400"},
      {kScan, {{"tokenLifetimeInMinutes", "30"}}, "5 to 86400"},
      {kScan, {{"enrollmentTransactionReference", "x"}}, "not known here"},
      {kCheck, {{"enrollmentTransactionReference", nullptr}}, "is missing"},
      {kCheck, {{"enrollmentTransactionReference", std::string(37, 'x')}}, "1 to 36"},
      {kCheck, {{"customerInternalReference", nullptr}}, "is missing"},
      {kCheck, {{"callbackUrl", nullptr}}, "is missing"},
      {kCheck, {{"userReference", "x"}}, "not known here"},
      {kCheck, {{"workflowId", 1}}, "not known here"},
  };
  for (const auto& [path, changes, why] : wrong) {
    json body = path == kScan ? scanBody() : checkBody();
    for (const auto& [name, value] : changes.items()) {
      value.is_null() ? void(body.erase(name)) : void(body[name] = value);
    }
    expectRefused({.path = path, .body = body.dump(), .headers = headers()}, 400, "badBody", why);
  }
  expectRefused({.path = kScan, .body = "[]", .headers = headers()}, 400, "badBody",
                "no JSON object");
  json most = scanBody();
  most.update({{"customerInternalReference", std::string(99, 'x') + "ä"},
               {"callbackUrl", url + std::string(234, 'x')},
               {"successUrl", url + std::string(2026, 'x')},
               {"errorUrl", "https://a"},
               {"workflowId", 200},
               {"locale", "de-AT"},
               {"tokenLifetimeInMinutes", 86400}});
  const auto page = pagePath(initiated({.path = kScan, .body = most.dump(), .headers = headers()}));
  EXPECT_THAT(page, HasSubstr("&locale=de-AT"));
}

TEST_F(Vendors, AnInitiateCallGetsIntoTheTroubleThatItsTokenNames) {
  EXPECT_EQ(send(scan("initiate-500"))->status, 500);
  EXPECT_THAT(send(scan("initiate-html"))->body, HasSubstr("<!doctype html>"));
  EXPECT_EQ(send(scan("initiate-large"))->body.size(), std::size_t{20} << 20);
  EXPECT_FALSE(send(scan("initiate-cut")));
  EXPECT_FALSE(send(scan("initiate-close")));
  EXPECT_FALSE(initiated(scan("initiate-no-redirect")).contains("redirectUrl"));
  EXPECT_FALSE(initiated(scan("initiate-no-reference")).contains("transactionReference"));
  const auto url = [&](const char* token) {
    return initiated(scan(token)).at("redirectUrl").get<std::string>();
  };
  EXPECT_TRUE(url("initiate-other-host").starts_with("https://vendor.example/"));
  EXPECT_TRUE(url("initiate-http").starts_with("http://localhost:"));
  const auto moved = send(scan("initiate-moved"));
  EXPECT_EQ(moved->status, 307);
  EXPECT_TRUE(moved->get_header_value("Location").starts_with("https://vendor.example/"));
}

TEST_F(Vendors, APageGetsIntoTheTroubleThatItsTokenNames) {
  const auto page = [&](const char* token) { return get(pagePath(initiated(scan(token)))); };
  EXPECT_THAT(page("page-error-9820")->body, HasSubstr("data-play=\"error-9820\""));
  EXPECT_EQ(page("page-500")->status, 500);
  EXPECT_FALSE(page("page-cut"));
  const auto moved = page("page-moved");
  EXPECT_EQ(moved->status, 302);
  const std::string other = "https://127.0.0.1:" + std::to_string(server->port());
  EXPECT_TRUE(moved->get_header_value("Location").starts_with(other + "/web/v4/foreign?"));
  const auto foreign = pagePath(initiated(scan("page-foreign-origin")));
  EXPECT_THAT(get(foreign)->body, HasSubstr("data-other=\"" + other + '"'));
  const auto query = foreign.substr(foreign.find('?'));
  EXPECT_THAT(get("/web/v4/foreign" + query)->body, HasSubstr("/web/foreign.js"));
  EXPECT_EQ(get("/web/v4/app?authorizationToken=nobody")->status, 404);
  EXPECT_EQ(get("/web/v4/app")->status, 404);
  EXPECT_EQ(get("/web/other")->status, 404);
  EXPECT_EQ(send({.method = "POST", .path = "/web/v4/app", .headers = {}})->status, 405);
}

TEST_F(Vendors, TheCaptureScriptIsForAnyPageAndGetsIntoTrouble) {
  const auto script = get("/onfido/loader.js");
  EXPECT_EQ(script->status, 200);
  EXPECT_EQ(script->get_header_value("Content-Type"), "text/javascript");
  EXPECT_EQ(script->get_header_value("Cross-Origin-Resource-Policy"), "cross-origin");
  EXPECT_THAT(script->body, HasSubstr("window.Onfido = {init}"));
  EXPECT_THAT(get("/onfido/html/loader.js")->body, HasSubstr("<title>"));
  EXPECT_EQ(get("/onfido/missing/loader.js")->status, 404);
  EXPECT_FALSE(get("/onfido/cut/loader.js"));
  EXPECT_FALSE(get("/onfido/close/loader.js"));
  EXPECT_THAT(get("/onfido/throws/loader.js")->body, testing::StartsWith("throw"));
  EXPECT_EQ(get("/onfido/empty/loader.js")->body.find("Onfido"), std::string::npos);
  for (const char* const path : {"/onfido/", "/onfido/other/loader.js", "/onfido/xloader.js"}) {
    EXPECT_EQ(get(path)->status, 404) << path;
  }
}

}  // namespace
}  // namespace veltrane::sandbox::test
