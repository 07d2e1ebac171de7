#include <gtest/gtest.h>

#include "tests/transport/exchanges.h"

namespace veltrane::testing {
namespace {

using namespace std::chrono_literals;

constexpr double kNever = 1e300;

class TimeOut : public ::testing::Test {
 protected:
  HTTPRequest request(double timeoutForRequest, double timeoutForResource) {
    auto request = getFrom(server.url("/"));
    request.timeoutForRequest = timeoutForRequest;
    request.timeoutForResource = timeoutForResource;
    return request;
  }

  /// Fails no sooner than after `least`; that it fails in time at all is the test's patience.
  void expectFailure(HTTPRequest request, std::chrono::milliseconds least) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(fetch(*transport, std::move(request)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, least);
  }

  /// Sends a body in pieces, one each `gap`, until the client has gone or `count` are sent.
  void drip(std::chrono::milliseconds gap, int count) {
    server.route("/", [=](const TestRequest&, TestConnection& connection) {
      connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(count) + "\r\n\r\n");
      for (int i = 0; i < count && connection.send("x"); ++i) std::this_thread::sleep_for(gap);
    });
  }

  TlsTestServer server;
  std::shared_ptr<curl::CurlTransport> transport = transportTrusting(server);
};

TEST_F(TimeOut, SilenceFailsEitherWayWhereverItBegins) {
  for (const std::string beginning : {"", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello"}) {
    server.route("/", [=](const TestRequest&, TestConnection& connection) {
      connection.send(beginning);
      connection.waitForClose();
    });
    expectFailure(request(0.25, kNever), 250ms);
    expectFailure(request(kNever, 0.25), 250ms);
    EXPECT_TRUE(server.waitUntilIdle());
  }
  TlsTestServer deaf({.plain = true});  // never answers the TLS greeting
  for (auto hanging : {request(0.25, kNever), request(kNever, 0.25)}) {
    hanging.url = "https://127.0.0.1:" + std::to_string(deaf.port()) + "/";
    expectFailure(hanging, 250ms);
  }
}

TEST_F(TimeOut, AnythingThatArrivesRenewsThePatience) {
  drip(300ms, 12);
  server.route("/head", [](const TestRequest&, TestConnection& connection) {
    connection.send("HTTP/1.1 200 OK\r\n");
    for (int i = 0; i < 12 && connection.send("X: x\r\n"); ++i) std::this_thread::sleep_for(300ms);
    connection.send("Content-Length: 0\r\n\r\n");
  });
  auto head = request(3, kNever);
  head.url = server.url("/head");
  auto slowHead = start(*transport, std::move(head));
  const auto answer = fetch(*transport, request(3, kNever));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body->size(), 12u);
  EXPECT_TRUE(resultOf(std::move(slowHead.answer)));
}

TEST_F(TimeOut, NothingRenewsTheTimeInAll) {
  drip(50ms, 1000000);
  expectFailure(request(kNever, 0.5), 500ms);
  EXPECT_TRUE(server.waitUntilIdle());
}

TEST_F(TimeOut, RedirectsShareTheTimeInAll) {
  for (int i = 0; i < 5; ++i) {
    const auto next = "/" + std::to_string(i + 1);
    server.route(i == 0 ? "/" : "/" + std::to_string(i),
                 [next](const TestRequest&, TestConnection& connection) {
                   std::this_thread::sleep_for(200ms);
                   connection.respond(302, "", {{"Location", next}});
                 });
  }
  server.answer("/5", 200, "");
  expectFailure(request(kNever, 0.5), 500ms);
  EXPECT_TRUE(fetch(*transport, request(kNever, kNever)));
}

}  // namespace
}  // namespace veltrane::testing
