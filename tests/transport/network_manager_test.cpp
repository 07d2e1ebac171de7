#include "veltrane/network/network_manager.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

#include "apps/sandbox/server.h"
#include "tests/support/fakes.h"
#include "tests/transport/exchanges.h"
#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane::testing {
namespace {

struct Outcome {
  std::optional<std::string> body;
  std::optional<VeltraneFlowError> error;
  std::thread::id thread;
};

constexpr const char* kNoResponse = "No response from server...";

class TemporaryFolder {
 public:
  TemporaryFolder() {
    auto name = (std::filesystem::temp_directory_path() / "sandbox-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Requests through the whole way: description, manager, libcurl, TLS, a server that judges them.
class NetworkManagerOverTls : public ::testing::Test {
 protected:
  NetworkManagerOverTls() { useServer(sandbox_.baseURL(), sandbox_.authorityFile()); }
  ~NetworkManagerOverTls() override { APIBaseURL::setProduction(formerURL_); }

  void useServer(const std::string& baseURL, const std::filesystem::path& authority) {
    APIBaseURL::setProduction(baseURL);
    scope_.reset();
    Platform platform = fakes_.ports();
    platform.transport = curl::make({.authorityFile = authority});
    scope_ = std::make_unique<PlatformScope>(std::move(platform));
  }
  void useServer(const TlsTestServer& server) {
    useServer(server.url("/v1"), server.authorityFile());
  }

  static NetworkAPIRequestFor start(std::optional<Dictionary> parameter = Dictionary()) {
    return NetworkAPIRequestFor(
        {.endpoint = FlowEndpoint{FlowEndpoint::StartFlowWithId{"company", "flow 1"}},
         .headers = {{APIHTTPHeader::authorization("token"), APIHTTPHeader::contentType()}},
         .parameter = std::move(parameter)});
  }

  static Outcome outcomeOf(const NetworkAPIRequestFor& request) {
    auto promise = std::make_shared<std::promise<Outcome>>();
    auto outcome = promise->get_future();
    const auto handle = NetworkManager::getRequest(request, [promise](auto body, auto error) {
      promise->set_value({std::move(body), std::move(error), std::this_thread::get_id()});
    });
    Outcome result = resultOf(std::move(outcome));
    EXPECT_NE(result.body.has_value(), result.error.has_value());
    return result;
  }

  /// What a request ends with that this rule of the server answers.
  Outcome outcomeOfRule(const std::string& rule) {
    sandbox_.addFlow("flow 1", R"({"start": [)" + rule + "]}");
    return outcomeOf(start());
  }

  static void expectNoResponse(const Outcome& outcome) {
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->reasonName(), "veltraneError");
    EXPECT_EQ(outcome.error->errorDescription(), kNoResponse);
    EXPECT_FALSE(outcome.error->httpResponseCode);
  }

  TemporaryFolder folder_;
  sandbox::Server sandbox_{{.stateFolder = folder_.path()}};
  const std::string formerURL_ = APIBaseURL::production();
  FakePlatform fakes_;
  std::unique_ptr<PlatformScope> scope_;
};

TEST_F(NetworkManagerOverTls, HandsOverTheBodyUnreadOnTheTransportsThread) {
  const auto answered = outcomeOfRule(R"({"answer": {"screen": {}}})");
  EXPECT_EQ(answered.body, R"({"screen":{}})");
  EXPECT_NE(answered.thread, std::this_thread::get_id());
  EXPECT_THAT(sandbox_.requests().back().path, ::testing::EndsWith("/flows/flow%201/start"));

  const auto unread = outcomeOfRule(R"({"trouble": {"rawBody": "no JSON"}})");
  EXPECT_EQ(unread.body, "no JSON");
  EXPECT_EQ(outcomeOfRule(R"({"status": 204})").body, "");
}

TEST_F(NetworkManagerOverTls, AnErrorBodyBecomesItsError) {
  const auto error =
      outcomeOfRule(R"({"status": 401, "answer": {"message": "Unauthorized", "code": 401}})").error;
  ASSERT_TRUE(error);
  EXPECT_EQ(error->reasonName(), "errorResponse");
  EXPECT_EQ(error->message, "Unauthorized");
  EXPECT_EQ(error->code, "401");
}

TEST_F(NetworkManagerOverTls, AnErrorWithoutAnErrorBodyKeepsItsStatus) {
  const auto html = outcomeOfRule(
                        R"({"status": 500, "trouble": {"rawBody": "<html>Oops</html>",
                                                       "contentType": "text/html"}})")
                        .error;
  ASSERT_TRUE(html);
  EXPECT_EQ(html->reasonName(), "veltraneError");
  EXPECT_EQ(html->httpResponseCode, 500);
  EXPECT_FALSE(html->errorDescription().empty());

  const auto empty = outcomeOfRule(R"({"status": 503, "trouble": {"rawBody": ""}})").error;
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->reasonName(), "veltraneError");
  EXPECT_EQ(empty->httpResponseCode, 503);

  const auto list = outcomeOfRule(R"({"status": 400, "trouble": {"rawBody": "[1, 2]"}})").error;
  ASSERT_TRUE(list);
  EXPECT_EQ(list->reasonName(), "serialize");
  EXPECT_EQ(list->httpResponseCode, 400);
  EXPECT_THAT(list->errorDescription(), ::testing::HasSubstr("6 bytes"));
}

TEST_F(NetworkManagerOverTls, DeepNestingIsAParseFailure) {
  const auto deepest = outcomeOfRule(R"({"status": 400, "trouble": {"nesting": 128}})").error;
  ASSERT_TRUE(deepest);
  EXPECT_EQ(deepest->reasonName(), "errorResponse");
  for (const auto* rule : {R"({"status": 400, "trouble": {"nesting": 129}})",
                           R"({"status": 400, "trouble": {"nesting": 100000}})"}) {
    const auto error = outcomeOfRule(rule).error;
    ASSERT_TRUE(error);
    EXPECT_EQ(error->reasonName(), "veltraneError");
    EXPECT_EQ(error->httpResponseCode, 400);
    EXPECT_NE(error->errorDescription(), kNoResponse);
  }
}

TEST_F(NetworkManagerOverTls, ABodyMayHaveSixteenMebibytesAndNoMore) {
  const auto most = outcomeOfRule(R"({"trouble": {"bodyBytes": 16777216}})");
  ASSERT_TRUE(most.body);
  EXPECT_EQ(most.body->size(), std::size_t{16} << 20);
  expectNoResponse(outcomeOfRule(R"({"trouble": {"bodyBytes": 16777217}})"));
}

TEST_F(NetworkManagerOverTls, AnAnswerThatNeverCameWholeIsNone) {
  expectNoResponse(
      outcomeOfRule(R"({"answer": {"a": "bcdefgh"}, "trouble": {"cutAfterBytes": 5}})"));
  expectNoResponse(outcomeOfRule(
      R"({"status": 500, "answer": {"message": "m"}, "trouble": {"cutAfterBytes": 0}})"));
  expectNoResponse(outcomeOfRule(R"({"trouble": {"closeConnection": true}})"));
  UserDefaultsManager::saveTimeout(0.3);
  expectNoResponse(outcomeOfRule(R"({"trouble": {"noAnswer": true}})"));
}

TEST_F(NetworkManagerOverTls, AServerOutOfReachIsNoResponse) {
  const auto refusing = std::make_unique<TlsTestServer>()->url("/v1");
  useServer(refusing, sandbox_.authorityFile());
  expectNoResponse(outcomeOf(start()));
  useServer("https://no-such-host.invalid/v1", sandbox_.authorityFile());
  expectNoResponse(outcomeOf(start()));
  const TestAuthority stranger;
  useServer(sandbox_.baseURL(), stranger.file());
  expectNoResponse(outcomeOf(start()));
  EXPECT_THAT(sandbox_.requests(), ::testing::IsEmpty());
}

TEST_F(NetworkManagerOverTls, ARedirectOutOfTlsIsNoResponse) {
  TlsTestServer plain({.plain = true});
  TlsTestServer server;
  server.answer("/v1/auth/company/flows/flow%201/start", 302, "", {{"Location", plain.url("/")}});
  useServer(server);
  expectNoResponse(outcomeOf(start()));
  EXPECT_EQ(server.requests().size(), 1u);
  EXPECT_EQ(plain.connections(), 0u);
}

TEST_F(NetworkManagerOverTls, WhatMayNotBeSentIsToldOnTheMainQueue) {
  const auto told = [this](const NetworkAPIRequestFor& request) {
    std::optional<VeltraneFlowError> heard;
    const auto handle = NetworkManager::getRequest(
        request, [&heard](const auto&, const auto& error) { heard = error; });
    EXPECT_FALSE(heard) << "told inside the call";
    fakes_.mainQueue->run();
    return heard;
  };
  const auto unsendable = told(start(Dictionary{{"key", "\xff"}}));
  ASSERT_TRUE(unsendable);
  EXPECT_EQ(unsendable->reasonName(), "jsonSerialization");

  APIBaseURL::setProduction("http://api.example/v1");
  const auto refused = told(start());
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->reasonName(), "invalidURL");
  EXPECT_THAT(refused->errorDescription(), ::testing::HasSubstr("http://api.example/v1"));
  EXPECT_THAT(sandbox_.requests(), ::testing::IsEmpty());
}

TEST_F(NetworkManagerOverTls, ADroppedRequestIsHeardOfNoMore) {
  TlsTestServer server;
  server.route("/v1/auth/company/flows/flow%201/start",
               [](const TestRequest&, TestConnection& connection) { connection.waitForClose(); });
  useServer(server);
  bool called = false;
  auto handle =
      NetworkManager::getRequest(start(), [&called](const auto&, const auto&) { called = true; });
  ASSERT_TRUE(server.waitForRequests(1));
  handle.reset();
  EXPECT_TRUE(server.waitUntilIdle());
  scope_.reset();  // and with it the transport's thread
  EXPECT_FALSE(called);
}

}  // namespace
}  // namespace veltrane::testing
