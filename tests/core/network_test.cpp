#include <limits>

#include "tests/core/host.h"
#include "veltrane/network/network_manager.h"

namespace veltrane::testing {
namespace {

TEST(Addresses, onlyHTTPSOrPlainLoopbackMayBeAsked) {
  for (const char* url :
       {"https://a.example/v1", "HTTPS://a.example", "https://a.example:8443/x?y#z",
        "https://[2001:db8::1]/", "http://localhost/", "http://localhost:8080/v1",
        "Http://127.0.0.1:1/", "http://127.3.2.1", "http://[::1]:9/x", "http://localhost?@x",
        "http://127.0.0.1/@evil.example"}) {
    EXPECT_TRUE(isAllowedURL(url)) << url;
  }
  for (const char* url : {"",
                          "https://",
                          "https:///path",
                          "https://:443/",
                          "http://a.example/",
                          "ftp://localhost/",
                          "file:///etc/passwd",
                          "localhost",
                          "https://localhost@evil.example/",
                          "http://localhost@evil.example/",
                          "http://localhost:80@evil.example/",
                          "http://localhost\\@evil.example/",
                          "https://a.example\\b",
                          "http://127.0.0.1.evil.example",
                          "http://127.0.0.1.",
                          "http://127...",
                          "http://127.0.0.256",
                          "http://localhost.evil.example",
                          "http://[::1]evil.example/",
                          "http://[::1",
                          "http://localhost%2eevil.example/",
                          "http://localhost:evil/",
                          "https://a b.example/",
                          " https://a.example",
                          "https://a.example\n",
                          "https://a.example/\x7f",
                          "https://ä.example/"}) {
    EXPECT_FALSE(isAllowedURL(url)) << url;
  }
}

class Network : public Host {
 protected:
  /// Sends and keeps the handle; what the callback hears is in `heard`.
  void send(NetworkAPIRequestFor::Arguments arguments) {
    handle = NetworkManager::getRequest(
        NetworkAPIRequestFor(std::move(arguments)),
        [this](const std::optional<std::string>& body, const std::optional<VeltraneFlowError>& e) {
          EXPECT_NE(body.has_value(), e.has_value());
          heard.push_back(body ? "body: " + *body
                               : std::string(e->reasonName()) + ": " + e->errorDescription());
          error = e;
        });
  }
  void sendAny() { send({.endpoint = SDKEndpoint{"c"}}); }
  static std::string urlFor(APIEndpoint endpoint) {
    return NetworkAPIRequestFor({.endpoint = std::move(endpoint)}).resourceURL;
  }

  std::unique_ptr<HTTPRequestHandle> handle;
  std::vector<std::string> heard;
  std::optional<VeltraneFlowError> error;
};

TEST_F(Network, urlsAreEscapedAndFollowTheSandboxFlag) {
  APIBaseURL::setProduction("https://p.example/v1");
  APIBaseURL::setSandbox("https://s.example/v1");
  const std::pair<const char*, const char*> cases[] = {
      {"p 1", "p%201"},
      {"ü", "%C3%BC"},
      {"😀", "%F0%9F%98%80"},
      {"a%2Fb", "a%252Fb"},
      {"a/b?c=d&e", "a/b?c=d&e"},
      {"<>\"{}|\\^`[]#", "%3C%3E%22%7B%7D%7C%5C%5E%60%5B%5D%23"},
      {"!$'()*+,;:@-._~", "!$'()*+,;:@-._~"},
      {"\r\n\x01\xff", "%0D%0A%01%FF"},
  };
  for (const auto& [raw, escaped] : cases) {
    EXPECT_EQ(urlFor(FlowEndpoint{FlowEndpoint::StartFlowWithPolicyId{"c", raw}}),
              "https://p.example/v1/auth/c/policy/" + std::string(escaped) + "/start");
  }
  const NetworkAPIRequestFor before({.endpoint = SDKEndpoint{"c"}});
  UserDefaultsManager::saveIsSandbox(true);
  EXPECT_TRUE(urlFor(SDKEndpoint{"c"}).starts_with("https://s.example/v1/auth/"));
  EXPECT_TRUE(before.resourceURL.starts_with("https://p.example/v1/auth/"));
}

TEST_F(Network, headersReplaceEarlierOnesOfTheSameNameInAnyCase) {
  send({.endpoint = Tokenpoint{"u"},
        .headers = {{APIHTTPHeader::authorization("tok"), APIHTTPHeader::custom("X-A", "1"),
                     APIHTTPHeader::custom("content-type", "text/plain"),
                     APIHTTPHeader::custom("VT-Agent", "mine"), APIHTTPHeader::custom("x-a", "2"),
                     APIHTTPHeader::contentType()}}});
  EXPECT_THAT(
      request().headers,
      ElementsAre(
          ::testing::Pair("Authorization", "Bearer tok"), ::testing::Pair("X-A", "2"),
          ::testing::Pair("content-type", "application/json"),
          ::testing::Pair("VT-Agent", "ios, sdkVersion: 0.0.1, OSVersion: " + OS::getVersion())));
  EXPECT_THAT(OS::getVersion(), ::testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
  EXPECT_EQ(request().method, "GET");
  EXPECT_EQ(request().body, std::nullopt);
}

TEST_F(Network, waitsAsLongAsTheHostSaysUnlessThatMakesNoSense) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::pair<double, double> cases[] = {
      {2.5, 2.5}, {0, 120}, {-1, 120}, {infinity, 120}, {-infinity, 120}, {std::nan(""), 120}};
  for (const auto& [stored, used] : cases) {
    UserDefaultsManager::saveTimeout(stored);
    sendAny();
    EXPECT_EQ(request().timeoutForRequest, used);
    EXPECT_EQ(request().timeoutForResource, used);
  }
}

TEST_F(Network, answersMapToABodyOrAnError) {
  const std::tuple<int, std::optional<std::string>, const char*, std::optional<int>> cases[] = {
      {200, "{", "body: {", {}},
      {299, "x", "body: x", {}},
      {204, "", "body: ", {}},
      {200, std::nullopt, "veltraneError: No response found", {}},
      {500, std::nullopt, "veltraneError: No response found", {}},
      {401, R"({"message":"Unauthorized","code":401})", "errorResponse: Unauthorized", {}},
      {400, R"({"httpResponseCode":422})", "errorResponse: Unknown Error!", 422},
      {500, "<html>", "veltraneError: The data is not valid JSON (near byte 1).", 500},
      {500, "", "veltraneError: The data is not valid JSON (near byte 1).", 500},
      {400, "[1, 2]", "serialize: Could not do JSONSerialization for supplied data, data: 6 bytes ",
       400},
      {300, "\"x\"", "serialize: Could not do JSONSerialization for supplied data, data: 3 bytes ",
       300},
      {199, "5", "serialize: Could not do JSONSerialization for supplied data, data: 1 bytes ",
       199},
  };
  for (const auto& [status, body, expected, code] : cases) {
    sendAny();
    platform.transport->last().finish(HTTPResponse{status, body});
    EXPECT_EQ(heard.back(), expected);
    EXPECT_EQ(error ? error->httpResponseCode : std::nullopt, code) << expected;
  }
  sendAny();
  platform.transport->last().finish(std::nullopt);
  EXPECT_EQ(heard.back(), "veltraneError: No response from server...");
}

TEST_F(Network, whatCannotBeSentIsAnErrorOnALaterTurn) {
  const Dictionary unprintable{{"n", std::numeric_limits<double>::infinity()}};
  send({.endpoint = SDKEndpoint{"c"}, .parameter = unprintable});
  EXPECT_THAT(heard, IsEmpty());
  platform.mainQueue->run();
  EXPECT_EQ(error.value().reasonName(), "jsonSerialization");

  for (const auto* token : {"tok\n", "tok\r\nX-Evil: 1", "\x01"}) {
    send({.endpoint = SDKEndpoint{"c"}, .headers = {{APIHTTPHeader::authorization(token)}}});
    platform.mainQueue->run();
    EXPECT_EQ(heard.back(), "badRequest: A header of the request holds a control character.");
  }
  APIBaseURL::setProduction("http://evil.example/v1");
  sendAny();
  platform.mainQueue->run();
  EXPECT_EQ(error.value().reasonName(), "invalidURL");
  EXPECT_EQ(platform.transport->exchanges.size(), 0u);
}

TEST_F(Network, aDroppedHandleIsSilence) {
  sendAny();
  const auto exchange = platform.transport->exchanges.back();
  handle.reset();
  exchange->finish(HTTPResponse{200, "late"});
  send({.endpoint = SDKEndpoint{"c"}, .parameter = {{{"t", "\xff"}}}});
  handle.reset();
  platform.mainQueue->run();
  EXPECT_THAT(heard, IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
