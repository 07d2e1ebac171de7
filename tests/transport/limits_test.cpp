#include <gtest/gtest.h>

#include "tests/transport/exchanges.h"

namespace veltrane::testing {
namespace {

class Limits : public ::testing::Test {
 protected:
  Answer fetchAtMost(std::size_t limit) {
    auto request = getFrom(server.url("/"));
    request.maxBodySize = limit;
    return fetch(*transport, std::move(request));
  }

  void answerRaw(const std::string& head, const std::string& endless) {
    server.route("/", [=](const TestRequest&, TestConnection& connection) {
      connection.send(head);
      while (!endless.empty() && connection.send(endless)) {
      }
      connection.waitForClose();
    });
  }

  TlsTestServer server;
  std::shared_ptr<curl::CurlTransport> transport = transportTrusting(server);
};

TEST_F(Limits, ABodyMayBeAsLargeAsTheLimitAndNoLarger) {
  server.answer("/", 200, std::string(100000, 'x'));
  const auto answer = fetchAtMost(100000);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body->size(), 100000u);
  EXPECT_FALSE(fetchAtMost(99999));
  EXPECT_FALSE(fetchAtMost(0));
  server.answer("/", 200, "");
  EXPECT_TRUE(fetchAtMost(0));
}

TEST_F(Limits, ABodyAnnouncedTooLargeFailsBeforeItComes) {
  answerRaw("HTTP/1.1 200 OK\r\nContent-Length: 1001\r\n\r\n", "");
  EXPECT_FALSE(fetchAtMost(1000));
  answerRaw("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n", "");
  EXPECT_FALSE(fetchAtMost(1000));
  EXPECT_TRUE(server.waitUntilIdle());
}

TEST_F(Limits, AnEndlessBodyFailsAtTheLimit) {
  const std::string chunk(0x4000, 'x');
  answerRaw("HTTP/1.1 200 OK\r\n\r\n", chunk);
  EXPECT_FALSE(fetchAtMost(1 << 20));
  answerRaw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", "4000\r\n" + chunk + "\r\n");
  EXPECT_FALSE(fetchAtMost(1 << 20));
  EXPECT_TRUE(server.waitUntilIdle());
}

TEST_F(Limits, EndlessHeadersFail) {
  std::string large = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n";
  while (large.size() < (270 << 10)) large += "X: " + std::string(1000, 'x') + "\r\n";
  answerRaw(large + "\r\n", "");
  EXPECT_FALSE(fetchAtMost(1000));
  answerRaw("HTTP/1.1 200 OK\r\n", "X: " + std::string(1000, 'x') + "\r\n");
  EXPECT_FALSE(fetchAtMost(1000));
  answerRaw("HTTP/1.1 200 OK\r\nX: ", std::string(0x4000, 'x'));
  EXPECT_FALSE(fetchAtMost(1000));
  answerRaw("", "HTTP/1.1 103 Early Hints\r\nX: " + std::string(1000, 'x') + "\r\n\r\n");
  EXPECT_FALSE(fetchAtMost(1000));
  EXPECT_TRUE(server.waitUntilIdle());
}

// A few kilobytes on the wire must not become gigabytes: what is packed stays packed.
TEST_F(Limits, APackedBodyIsHandedOverPacked) {
  const std::string packed("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
  server.answer("/", 200, packed, {{"Content-Encoding", "gzip"}});
  const auto answer = fetchAtMost(1000);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, packed);
}

}  // namespace
}  // namespace veltrane::testing
