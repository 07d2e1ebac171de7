// What goes on behind a screen, over the real transport and its thread: pictures and polling.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "platform/curl/curl_transport.h"
#include "platform/loop/run_loop.h"
#include "tests/support/fakes.h"
#include "tests/support/tls_test_server.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/network/poll_for_challenge_status.h"

namespace veltrane::testing {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

constexpr auto kPatience = 20s;

/// A main thread, a transport's thread and a thread for pictures, as in an application.
class Background : public ::testing::Test {
 protected:
  Background() {
    Platform platform = fakes_.ports();
    platform.mainQueue = loop_;
    platform.transport = curl::make({.authorityFile = server_.authorityFile()});
    platform.pictureQueue = std::make_shared<ThreadWorkQueue>();
    scope_ = std::make_unique<PlatformScope>(std::move(platform));
    APIBaseURL::setProduction(server_.url("/v1"));
  }

  bool runUntil(const std::function<bool()>& done) { return loop_->runUntil(done, kPatience); }

  TlsTestServer server_;
  FakePlatform fakes_;
  std::shared_ptr<loop::RunLoop> loop_ = std::make_shared<loop::RunLoop>();
  std::unique_ptr<PlatformScope> scope_;
};

class Downloads : public Background {
 protected:
  std::unique_ptr<ImageDownload> download(const std::string& url) {
    return NetworkManager::downloadImage(
        url, [this](const PicturePtr& picture, const std::optional<VeltraneFlowError>& error) {
          loop_->async([this, said = picture
                                         ? std::to_string(picture->size.width)
                                         : error->errorDescription()] { came_.push_back(said); });
        });
  }
  std::vector<std::string> came_;
};

TEST_F(Downloads, shareARequestWhileOthersComeAndGo) {
  for (int i = 0; i < 4; ++i) {
    const auto side = std::to_string(i + 1);
    server_.answer("/" + side + ".png", 200, "picture " + side + "x1");
  }
  std::vector<std::unique_ptr<ImageDownload>> kept;
  for (int round = 0; round < 40; ++round) {
    const auto url = server_.url("/" + std::to_string(round % 4 + 1) + ".png");
    // A row that scrolls by at once, then one that stays.
    if (round % 3 != 0) {
      const auto passing = NetworkManager::downloadImage(url, [](const auto&, const auto&) {});
    }
    kept.push_back(download(url));
    loop_->runOnce(1ms);
  }
  ASSERT_TRUE(runUntil([&] { return came_.size() >= 40; }));
  EXPECT_EQ(std::count(came_.begin(), came_.end(), "1"), 10);
  for (const auto& said : came_) EXPECT_EQ(said.size(), 1u) << said;
}

TEST_F(Downloads, endInSilenceWithTheirOwner) {
  server_.route("/slow.png", [](const TestRequest&, TestConnection& c) { c.waitForClose(); });
  auto waiting = download(server_.url("/slow.png"));
  ASSERT_TRUE(server_.waitForRequests(1));
  waiting.reset();
  EXPECT_TRUE(server_.waitUntilIdle()) << "nobody wants it, but it is still being fetched";
  auto left = download(server_.url("/slow.png"));
  scope_.reset();
  left.reset();
  EXPECT_THAT(came_, ElementsAre());
}

class PollingOverTls : public Background {
 protected:
  static constexpr const char* kPath = "/v1/auth/co/user/credentials/challenge/ch/status";

  void start() {
    run_ = PollForChallengeStatus::startClientSidePoll(
        {.companyId = "co",
         .challengeId = "ch",
         .pollInterval = 100,
         .pollRetries = 1000,
         .interactionId = "in",
         .callback = [this](const auto& status, const auto& error) {
           EXPECT_EQ(std::this_thread::get_id(), main_);
           said_.push_back(status.value_or("") + error.value_or(""));
         }});
  }
  /// Each question is answered by the next of these, the last one for ever.
  void answerInTurn(std::vector<TlsTestServer::Route> routes) {
    server_.route(kPath, [this, routes = std::move(routes)](const TestRequest& request,
                                                            TestConnection& connection) {
      const std::size_t turn = asked_++;
      routes[std::min(turn, routes.size() - 1)](request, connection);
    });
  }
  static TlsTestServer::Route status(const std::string& body) {
    return [body](const TestRequest&, TestConnection& c) { c.respond(200, body); };
  }
  static TlsTestServer::Route hang() {
    return [](const TestRequest&, TestConnection& c) { c.waitForClose(); };
  }

  std::thread::id main_ = std::this_thread::get_id();
  std::shared_ptr<PollForChallengeStatus::Run> run_;
  std::vector<std::string> said_;
  std::atomic<std::size_t> asked_ = 0;
};

TEST_F(PollingOverTls, goesOnPastWhatIsNoFinalStatusAndHangingQuestionsToTheOneReport) {
  answerInTurn({status("{}"), hang(), status(R"({"status":"Approved"})"), status(R"({"status":5})"),
                status(R"({"status":"approved"})")});
  start();
  ASSERT_TRUE(runUntil([&] { return !said_.empty(); }));
  ASSERT_TRUE(runUntil([&] { return !run_->isRunning(); }));
  loop_->runUntilIdle();
  EXPECT_THAT(said_, ElementsAre("approved"));
  EXPECT_GE(asked_, 5u);
}

TEST_F(PollingOverTls, dropsItsQuestionsWithItsScreen) {
  answerInTurn({hang()});
  start();
  ASSERT_TRUE(runUntil([&] { return asked_ >= 2; }));
  run_.reset();
  EXPECT_TRUE(server_.waitUntilIdle());
  loop_->runUntilIdle();
  EXPECT_THAT(said_, ElementsAre());
}

}  // namespace
}  // namespace veltrane::testing
