#include <gmock/gmock.h>

#include <array>
#include <barrier>

#include "tests/transport/exchanges.h"

namespace veltrane::testing {
namespace {

using ::testing::IsNull;
using ::testing::Pointee;

class Content : public ::testing::Test {
 protected:
  TestRequest received(HTTPRequest request) {
    EXPECT_TRUE(fetch(*transport, std::move(request)));
    return server.requests().back();
  }

  TlsTestServer server;
  std::shared_ptr<curl::CurlTransport> transport = transportTrusting(server);
};

TEST_F(Content, SendsMethodHeadersAndBodyAsTheyAreAndNothingElse) {
  const std::string small("{\"a\":\0\"\xff\"}", 10);
  for (const std::string method : {"GET", "POST", "PUT", "DELETE", "PATCH"}) {
    for (const std::optional<std::string>& body :
         {std::optional(small), std::optional(std::string(3 << 20, 'x')), {}}) {
      const auto request = received({.method = method,
                                     .url = server.url("/a%20b?c=d&e"),
                                     .headers = {{"Authorization", "Bearer t"}, {"X-Empty", ""}},
                                     .body = body});
      EXPECT_EQ(request.method, method);
      EXPECT_EQ(request.target, "/a%20b?c=d&e");
      EXPECT_EQ(request.body, body.value_or(""));
      EXPECT_THAT(request.header("authorization"), Pointee(std::string("Bearer t")));
      EXPECT_THAT(request.header("x-empty"), Pointee(std::string()));
      const bool isAnnounced = body || (method != "GET" && method != "DELETE");
      EXPECT_EQ(request.header("content-length") != nullptr, isAnnounced) << method;
      for (const auto* name : {"expect", "accept-encoding", "content-type", "cookie"}) {
        EXPECT_THAT(request.header(name), IsNull()) << name;
      }
    }
  }
}

TEST_F(Content, NeverSendsTextsThatBreakOutOfTheirLine) {
  const auto url = server.url("/");
  EXPECT_FALSE(fetch(*transport, {.method = "GET", .url = url, .headers = {{"A", "b\r\nC: d"}}}));
  EXPECT_FALSE(fetch(*transport, {.method = "GET", .url = url, .headers = {{"A: b\nC", "d"}}}));
  EXPECT_FALSE(fetch(*transport, {.method = "GET / HTTP/1.1\r\nA: b", .url = url}));
  EXPECT_FALSE(fetch(*transport, {.method = "", .url = url}));
  EXPECT_FALSE(fetch(*transport, getFrom(url + " HTTP/1.1\r\nA: b")));
  EXPECT_EQ(server.connections(), 0u);
}

TEST_F(Content, GivesStatusAndBodyOfAnyAnswer) {
  for (const int status : {200, 204, 304, 400, 401, 500, 599}) {
    const bool bodyless = status == 204 || status == 304;
    server.answer("/", status, bodyless ? "" : "text");
    const auto answer = fetch(*transport, getFrom(server.url("/")));
    ASSERT_TRUE(answer) << status;
    EXPECT_EQ(answer->status, status);
    EXPECT_EQ(answer->body, bodyless ? "" : "text");
  }
}

TEST_F(Content, AnAnswerCutShortOrGarbledIsNone) {
  using Ending = void (TestConnection::*)();
  const auto answerOf = [&](const std::string& bytes, Ending end = &TestConnection::close) {
    server.route("/", [=](const TestRequest&, TestConnection& connection) {
      connection.send(bytes);
      (connection.*end)();
    });
    return fetch(*transport, getFrom(server.url("/")));
  };
  for (const std::string bytes :
       {"", "HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n",
        "HTTP/1.1 103 Early Hints\r\n\r\n",
        "HTTP/1.1 103 Early Hints\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 0\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nhello\r\n0\r\n\r\n",
        "garbage\r\n\r\n", "<html>no status line</html>"}) {
    EXPECT_FALSE(answerOf(bytes)) << bytes;
  }
  // Without a length a body ends with the TLS stream, but not with the bare TCP stream.
  const std::string open = "HTTP/1.1 200 OK\r\n\r\nhello";
  EXPECT_EQ(answerOf(open).value().body, "hello");
  EXPECT_FALSE(answerOf(open, &TestConnection::closeAbruptly));
}

// The process would be killed by SIGPIPE if the transport raised it.
TEST_F(Content, AServerThatHangsUpDuringTheUploadDoesNoHarm) {
  TlsTestServer plain({.plain = true});
  for (auto* hangingUp : {&server, &plain}) {
    hangingUp->route("/",
                     [](const TestRequest&, TestConnection& connection) { connection.hangUp(); });
    auto request = postTo(hangingUp->url("/"), std::string(8 << 20, 'x'));
    request.headers = {{"Content-Length", "10"}};  // the server stops reading there
    EXPECT_FALSE(fetch(*transport, std::move(request)));
  }
}

TEST_F(Content, FiftyExchangesRunSideBySide) {
  constexpr int kCount = 50;
  // No answer leaves before all requests are in.
  auto all = std::make_shared<std::barrier<>>(kCount);
  server.route("/", [all](const TestRequest& request, TestConnection& connection) {
    all->arrive_and_wait();
    connection.respond(200, request.body);
  });
  std::vector<Exchanging> exchanges;
  for (int i = 0; i < kCount; ++i) {
    exchanges.push_back(start(*transport, postTo(server.url("/"), std::to_string(i))));
  }
  for (int i = 0; i < kCount; ++i) {
    const auto answer = resultOf(std::move(exchanges[static_cast<std::size_t>(i)].answer));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->body, std::to_string(i));
  }
}

}  // namespace
}  // namespace veltrane::testing
