#include "veltrane/network/network_manager.h"

#include <gmock/gmock.h>

#include <thread>

#include "apps/sandbox/server.h"
#include "tests/support/fakes.h"
#include "tests/support/temporary_folder.h"
#include "tests/transport/exchanges.h"
#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane::testing {
namespace {

constexpr const char* kNoResponse = "veltraneError: No response from server...";

/// Requests through the whole way: description, manager, libcurl, TLS, a server that judges them.
class NetworkManagerOverTls : public ::testing::Test {
 protected:
  NetworkManagerOverTls() { useServer(sandbox_.baseURL(), sandbox_.authorityFile()); }

  void useServer(const std::string& baseURL, const std::filesystem::path& authority) {
    APIBaseURL::setProduction(baseURL);
    scope_.reset();
    Platform platform = fakes_.ports();
    platform.transport = curl::make({.authorityFile = authority});
    scope_ = std::make_unique<PlatformScope>(std::move(platform));
  }

  /// How the start of a flow ends: its body, or the error's reason and text and, in brackets,
  /// status.
  static std::string outcome() {
    auto promise = std::make_shared<std::promise<std::string>>();
    auto outcome = promise->get_future();
    const auto handle = NetworkManager::getRequest(
        NetworkAPIRequestFor(
            {.endpoint = FlowEndpoint{FlowEndpoint::StartFlowWithId{"company", "flow 1"}},
             .headers = {{APIHTTPHeader::authorization("token"), APIHTTPHeader::contentType()}},
             .parameter = Dictionary()}),
        [promise, caller = std::this_thread::get_id()](const auto& body, const auto& error) {
          EXPECT_NE(body.has_value(), error.has_value());
          EXPECT_NE(std::this_thread::get_id(), caller) << "not on the transport's thread";
          promise->set_value(body ? *body : described(*error));
        });
    return resultOf(std::move(outcome));
  }
  static std::string described(const VeltraneFlowError& error) {
    const std::string text = std::string(error.reasonName()) + ": " + error.errorDescription();
    const auto status = error.httpResponseCode;
    return status ? text + " (" + std::to_string(*status) + ")" : text;
  }
  /// How it ends when the server has this rule.
  std::string outcomeOfRule(const std::string& rule) {
    sandbox_.addFlow("flow 1", R"({"start": [)" + rule + "]}");
    return outcome();
  }

  TemporaryFolder folder_;
  sandbox::Server sandbox_{{.stateFolder = folder_.path()}};
  FakePlatform fakes_;
  std::unique_ptr<PlatformScope> scope_;
};

TEST_F(NetworkManagerOverTls, EveryAnswerBecomesItsBodyOrItsError) {
  const auto unreadable = "veltraneError: The data is not valid JSON (near byte 1). (500)";
  const auto tooDeep = "veltraneError: The data is nested more deeply than 128 levels. (500)";
  const std::pair<const char*, std::string> cases[] = {
      {R"({"answer": {"screen": {}}})", R"({"screen":{}})"},
      {R"({"trouble": {"rawBody": "no JSON"}})", "no JSON"},
      {R"({"status": 204})", ""},
      {R"({"status": 400, "trouble": {"nesting": 128}})", "errorResponse: Unknown Error!"},
      {R"({"status": 500, "trouble": {"rawBody": "<html>Oops</html>"}})", unreadable},
      {R"({"status": 500, "trouble": {"nesting": 129}})", tooDeep},
      {R"({"status": 500, "trouble": {"nesting": 100000}})", tooDeep},
      {R"({"answer": {"a": "bcdefgh"}, "trouble": {"cutAfterBytes": 5}})", kNoResponse},
      {R"({"status": 500, "answer": {"message": "m"}, "trouble": {"cutAfterBytes": 0}})",
       kNoResponse},
      {R"({"trouble": {"closeConnection": true}})", kNoResponse},
      {R"({"trouble": {"bodyBytes": 16777217}})", kNoResponse},
  };
  for (const auto& [rule, expected] : cases) EXPECT_EQ(outcomeOfRule(rule), expected) << rule;
  EXPECT_EQ(outcomeOfRule(R"({"trouble": {"bodyBytes": 16777216}})").size(), 16U << 20);
  EXPECT_THAT(sandbox_.requests().back().path, ::testing::EndsWith("/flows/flow%201/start"));
  UserDefaultsManager::saveTimeout(0.3);
  EXPECT_EQ(outcomeOfRule(R"({"trouble": {"noAnswer": true}})"), kNoResponse);
}

TEST_F(NetworkManagerOverTls, AServerOutOfReachIsNoResponse) {
  const TestAuthority stranger;
  const std::pair<std::string, std::filesystem::path> cases[] = {
      {std::make_unique<TlsTestServer>()->url("/v1"), sandbox_.authorityFile()},
      {"https://no-such-host.invalid/v1", sandbox_.authorityFile()},
      {sandbox_.baseURL(), stranger.file()},
  };
  for (const auto& [baseURL, authority] : cases) {
    useServer(baseURL, authority);
    EXPECT_EQ(outcome(), kNoResponse) << baseURL;
  }
  EXPECT_THAT(sandbox_.requests(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
