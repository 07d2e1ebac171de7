#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <thread>
#include <vector>

#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class TroubleTest : public SandboxTest {
 protected:
  void waitForRequests(std::size_t count) const {
    while (server->requests().size() < count) std::this_thread::yield();
  }

  /// A client that takes its time even for the handshake.
  int connectAndSayNothing() const {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(server->port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return socket;
  }

  std::future<bool> sendLater(const std::string& flow) const {
    return std::async(std::launch::async,
                      [this, flow] { return static_cast<bool>(send(startOf(flow))); });
  }
};

TEST_F(TroubleTest, answersWithAnyStatusHeaderAndBody) {
  auto answer = answerOf(R"({"status": 503, "headers": {"Retry-After": "7"},
      "trouble": {"rawBody": "<html>", "contentType": "text/html"}})");
  EXPECT_EQ(answer->status, 503);
  EXPECT_EQ(answer->body, "<html>");
  EXPECT_EQ(answer->get_header_value("Content-Type"), "text/html");
  EXPECT_EQ(answer->get_header_value("Retry-After"), "7");
  answer = answerOf(R"({"status": 204})");
  EXPECT_EQ(answer->status, 204);
  EXPECT_EQ(answer->body, "");
  answer = answerOf(R"({"status": 401, "trouble": {"rawBody": ""}})");
  EXPECT_EQ(answer->status, 401);
  EXPECT_EQ(answer->body, "");
  answer = answerOf(R"({"trouble": {"garbage": true}})");
  EXPECT_EQ(answer->status, 200);
  EXPECT_FALSE(json::accept(answer->body));
}

TEST_F(TroubleTest, makesBodiesOfAnySizeAndDepth) {
  constexpr std::size_t big = 20U * 1024 * 1024;
  auto answer = answerOf(R"({"trouble": {"bodyBytes": 20971520}})");
  EXPECT_EQ(answer->body.size(), big);
  EXPECT_TRUE(json::accept(answer->body));
  EXPECT_EQ(answerOf(R"({"trouble": {"bodyBytes": 14}})")->body, R"({"padding":""})");
  EXPECT_EQ(answerOf(R"({"trouble": {"nesting": 3}})")->body, R"({"nested":[[]]})");
  answer = answerOf(R"({"trouble": {"nesting": 100000}})");
  EXPECT_TRUE(json::accept(answer->body));
  EXPECT_EQ(answer->body.find(']') - answer->body.find('['), 99999U);
}

TEST_F(TroubleTest, compressesNothingAndCutsBodiesWhereAsked) {
  server->addFlow("cut", R"({"start": [{"answer": {"text": "0123456789"},
      "trouble": {"cutAfterBytes": 9}}]})");
  httplib::Request request;
  request.method = "POST";
  request.path = "/v1/auth/acme/flows/cut/start";
  request.headers = goodHeaders();
  request.headers.emplace("Accept-Encoding", "gzip, br");
  std::string announced;
  std::string body;
  request.response_handler = [&](const httplib::Response& response) {
    announced = response.get_header_value("Content-Length");
    return true;
  };
  request.content_receiver = [&](const char* data, std::size_t size, std::uint64_t, std::uint64_t) {
    body.append(data, size);
    return true;
  };
  EXPECT_EQ(client()->send(request).error(), httplib::Error::Read);
  EXPECT_EQ(announced, "21");
  EXPECT_EQ(body, "{\"text\":\"");
}

TEST_F(TroubleTest, closesWithoutAnAnswer) {
  const auto answer = answerOf(R"({"trouble": {"closeConnection": true}})");
  EXPECT_FALSE(answer);
  EXPECT_EQ(answer.error(), httplib::Error::Read);
}

TEST_F(TroubleTest, delaysAnAnswer) {
  const auto begin = Clock::now();
  EXPECT_EQ(answerOf(R"({"answer": {}, "trouble": {"delayMs": 120}})")->status, 200);
  EXPECT_GE(Clock::now() - begin, 120ms);
}

TEST_F(TroubleTest, hangingRequestsBlockNeitherOthersNorTheEnd) {
  server->addFlow("hang", R"({"start": [{"trouble": {"noAnswer": true}}]})");
  server->addFlow("late", R"({"start": [{"answer": {}, "trouble": {"delayMs": 3600000}}]})");
  std::vector<std::future<bool>> hanging;
  for (int i = 0; i < 5; ++i) {
    hanging.push_back(sendLater("hang"));
    hanging.push_back(sendLater("late"));
  }
  waitForRequests(10);
  EXPECT_EQ(send(startOf("shop"))->status, 200);
  const auto begin = Clock::now();
  const int silent = connectAndSayNothing();
  server.reset();
  for (auto& answer : hanging) EXPECT_FALSE(answer.get());
  EXPECT_LT(Clock::now() - begin, 20s);
  ::close(silent);
}

TEST_F(TroubleTest, noticesThatAClientLeaves) {
  std::promise<std::string> outcome;
  server.reset();
  start({.log = [&](const std::string& line) { outcome.set_value(line); }});
  server->addFlow("hang", R"({"start": [{"trouble": {"noAnswer": true}}]})");
  auto impatient = client();
  impatient->set_read_timeout(0, 50'000);
  httplib::Request request;
  request.method = "POST";
  request.path = "/v1/auth/acme/flows/hang/start";
  request.headers = goodHeaders();
  EXPECT_FALSE(impatient->send(request));
  EXPECT_THAT(outcome.get_future().get(), testing::HasSubstr("no answer"));
}

}  // namespace
}  // namespace veltrane::sandbox::test
